// The waits, with the platform's answers turned into the library's result codes.
#include "XoSignalObject.h"

#include "platform/waitable.h"

namespace os = xo::platform;

// The handles behind the objects, for the waits.
class XoSignalHandles {
public:
    static void* of(XoSignalObject* object) { return object->m_hHandle; }
};

namespace {

constexpr unsigned int kSignalled = 4096;
constexpr unsigned int kTimedOut = 8192;
constexpr unsigned int kFailed = 0xFFFFFFFFu;
constexpr unsigned int kMaxObjects = 4096; // the library's array; the platform takes fewer

unsigned int resultOf(std::uint32_t answer, unsigned int count) {
    if (answer < count)
        return kSignalled + answer;
    if (answer >= os::kWaitAbandoned0 && answer < os::kWaitAbandoned0 + count)
        return answer - os::kWaitAbandoned0;
    return answer == os::kWaitTimeout ? kTimedOut : kFailed;
}

// False when an object is missing; the platform refuses a null handle by itself.
template <class HandleOf>
bool handlesOf(XoSignalObject** objects, unsigned int count, os::WaitHandle* handles,
               HandleOf handleOf) {
    if (objects == nullptr || count > kMaxObjects)
        return false;
    for (unsigned int i = 0; i < count; ++i) {
        if (objects[i] == nullptr)
            return false;
        handles[i] = handleOf(objects[i]);
    }
    return true;
}

} // namespace

unsigned int xoWaitForSingleObject(XoSignalObject* object, unsigned int timeout) {
    if (object == nullptr)
        return kFailed;
    os::WaitHandle handle = XoSignalHandles::of(object);
    return resultOf(os::waitForObjects(1, &handle, false, timeout), 1);
}

unsigned int xoWaitForMultipleObject(XoSignalObject** objects, unsigned int count, bool waitAll,
                                     unsigned int timeout) {
    os::WaitHandle handles[kMaxObjects];
    handles[0] = nullptr;
    if (!handlesOf(objects, count, handles, XoSignalHandles::of))
        return kFailed;
    return resultOf(os::waitForObjects(count, handles, waitAll, timeout), count);
}

unsigned int xoMsgWaitForMultipleObject(XoSignalObject** objects, unsigned int count,
                                        unsigned int wakeMask, bool waitAll, unsigned int timeout) {
    os::WaitHandle handles[kMaxObjects];
    handles[0] = nullptr;
    if (count != 0 && !handlesOf(objects, count, handles, XoSignalHandles::of))
        return kFailed;
    const std::uint32_t answer = os::msgWaitForObjects(count, handles, waitAll, timeout, wakeMask);
    // Input in the queue comes back as one past the objects: deliberately 4096 + count.
    return answer == count ? kSignalled + count : resultOf(answer, count);
}

bool xoGetThreadExitCode(XoThread* thread, unsigned int* exitCode) {
    std::uint32_t code = 0;
    if (thread == nullptr || exitCode == nullptr ||
        !os::threadExitCode(XoSignalHandles::of(thread), &code))
        return false;
    *exitCode = code;
    return true;
}
