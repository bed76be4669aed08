// The objects behind the POSIX wait handles, shared by the events, the threads and the
// waits. Every field but references is read and written under objectsLock().
#pragma once

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace xo::platform::posix {

enum class Kind : std::uint8_t { kEvent, kThread, kNever };

struct Waiter;

// One entry of an object's list of waiters, in the order they came.
struct Node {
    Waiter* waiter;
    struct Object* object;
    Node* prev;
    Node* next;
};

struct Waiter {
    struct Object* const* objects;
    std::uint32_t count;
    bool all;
    Node* nodes = nullptr;
    std::uint32_t result = 0;
    std::atomic<std::uint32_t> done{0}; // the futex word the waiter sleeps on
};

// A thread's part: signalled when it ends, a gate while it is suspended before it ran.
struct ThreadState {
    std::uint32_t id = 0;
    std::uint32_t exitCode = 259; // STILL_ACTIVE
    std::uint32_t suspendCount = 0;
    bool started = false; // past the gate: it can no longer be suspended here
    int priority = 0;
    std::condition_variable gate;
};

struct Object {
    explicit Object(Kind k) : kind(k) {}
    Kind kind;
    bool manual = true; // a thread or the process never resets
    bool signalled = false;
    bool permanent = false; // the pseudo-handles: never freed
    Node* head = nullptr;
    Node* tail = nullptr;
    std::atomic<int> references{1}; // the handle, and a thread while it runs
    ThreadState thread;
};

std::mutex& objectsLock();
void wakeWaiters(Object* object); // under objectsLock()
Object* objectOf(void* handle);
void release(Object* object);

} // namespace xo::platform::posix
