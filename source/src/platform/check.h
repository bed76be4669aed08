// Checks of invariants that the allocator, the locks and the containers rely on, where
// carrying on past a broken one would corrupt memory. A failed check writes one fixed
// line through the debugger's output and aborts. It allocates nothing and formats
// nothing: the allocator itself may be what is broken.
//
// XO_CHECK is always on, for places off the hot paths. XO_DEBUG_CHECK is on in debug,
// sanitizer and fuzz builds (XO_DEBUG_CHECKS, set by the build) and compiles to nothing
// elsewhere, for the paths every allocation or lock takes; its condition is then not
// evaluated.
#pragma once

#include "platform/debugoutput.h"

namespace xo::platform {

[[noreturn]] __attribute__((cold, noinline)) inline void checkFailed(const char* message) {
    debugOutputA(message);
    abortProcess();
}

} // namespace xo::platform

#define XO_CHECK_LINE_TEXT(line) #line
#define XO_CHECK_LINE(line) XO_CHECK_LINE_TEXT(line)

// WHAT is a string literal naming the broken invariant.
#define XO_CHECK(condition, what)                                                                  \
    (__builtin_expect(static_cast<bool>(condition), true)                                          \
         ? static_cast<void>(0)                                                                    \
         : ::xo::platform::checkFailed("XoOsBase check failed: " what " (" __FILE__                \
                                       ":" XO_CHECK_LINE(__LINE__) ")\n"))

#if defined(XO_DEBUG_CHECKS)
#define XO_DEBUG_CHECK(condition, what) XO_CHECK(condition, what)
#else
#define XO_DEBUG_CHECK(condition, what) static_cast<void>(sizeof(static_cast<bool>(condition)))
#endif
