// A test fixture that runs its tests with the process's multibyte code page set to
// Page, and puts the previous one back afterwards.
#pragma once

#include <gtest/gtest.h>

#include "platform/codepage.h"

namespace xotest {

template <int Page> class WithMultiByteCodePage : public ::testing::Test {
protected:
    void SetUp() override {
        previous_ = xo::platform::multiByteCodePage();
        ASSERT_EQ(xo::platform::setMultiByteCodePage(Page), 0);
    }
    void TearDown() override { xo::platform::setMultiByteCodePage(previous_); }

private:
    int previous_ = 0;
};

} // namespace xotest
