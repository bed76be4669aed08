// How a process that a failed invariant check stopped ends: the runtime's abort, told
// apart from a crash or an exit, for EXPECT_EXIT.
#pragma once

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <csignal>
#endif

namespace xotest {

#if defined(_WIN32)
inline ::testing::ExitedWithCode abortedByCheck() {
    return ::testing::ExitedWithCode(3);
}
#else
inline ::testing::KilledBySignal abortedByCheck() {
    return ::testing::KilledBySignal(SIGABRT);
}
#endif

} // namespace xotest
