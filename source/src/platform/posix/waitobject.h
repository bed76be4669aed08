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
    // The waiting thread's own futex word. It lives as long as the thread, so a waker may
    // wake it after the wait has returned: that is at most a spurious wake-up of a later
    // wait, which looks at the word and sleeps again.
    std::atomic<std::uint32_t>* done = nullptr;
};

// Futex words to wake once the objects' lock is let go, so that a woken waiter does not
// run into the lock its waker still holds.
class Wakes {
public:
    Wakes() = default;
    Wakes(const Wakes&) = delete;
    Wakes& operator=(const Wakes&) = delete;
    ~Wakes(); // wakes what is left: call it after the lock is released
    void add(std::atomic<std::uint32_t>* word);

private:
    static constexpr int kCapacity = 16;
    std::atomic<std::uint32_t>* words_[kCapacity];
    int count_ = 0;
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
void wakeWaiters(Object* object, Wakes& wakes); // under objectsLock()
Object* objectOf(void* handle);
void release(Object* object);

} // namespace xo::platform::posix
