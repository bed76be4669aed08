#include "VeskCrashRecorder.h"
#include "XoException.h"
#include "diagnostics/xothrow.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>

namespace {

struct Recorder : VeskCrashRecorder {
    void recordException(XoException* exception) override {
        ++calls;
        seen = exception;
        beforeThrow = std::uncaught_exceptions() == 0;
    }
    int calls = 0;
    XoException* seen = nullptr;
    bool beforeThrow = false;
};

class Throwing : public ::testing::Test {
protected:
    void TearDown() override { veskSetCrashRecorder(nullptr); }
};

TEST_F(Throwing, RecorderIsToldOfTheObjectBeforeItIsThrown) {
    Recorder recorder;
    veskSetCrashRecorder(&recorder);
    EXPECT_EQ(veskGetCrashRecorder(), &recorder);
    try {
        xo::throwWithMessage(L"EMPTY THROW");
        FAIL() << "nothing thrown";
    } catch (XoExceptionWithMsg* caught) {
        const std::unique_ptr<XoExceptionWithMsg> owner(caught);
        EXPECT_EQ(recorder.calls, 1);
        EXPECT_EQ(recorder.seen, caught);
        EXPECT_TRUE(recorder.beforeThrow);
        EXPECT_STREQ(caught->description(), L"EMPTY THROW");
        EXPECT_STREQ(caught->file(), L"\"\"");
        EXPECT_EQ(caught->line(), 0);
    }
}

TEST_F(Throwing, WithoutRecorderTheThrowProceeds) {
    Recorder recorder;
    veskSetCrashRecorder(&recorder);
    veskSetCrashRecorder(nullptr);
    EXPECT_EQ(veskGetCrashRecorder(), nullptr);
    try {
        xo::throwErrorStatus(Vesk::eIndexOutOfRange);
    } catch (XoException* caught) {
        const std::unique_ptr<XoException> owner(caught);
        auto* status = dynamic_cast<XoErrorStatus*>(caught);
        ASSERT_NE(status, nullptr);
        EXPECT_EQ(status->errorType(), Vesk::eIndexOutOfRange);
        EXPECT_STREQ(status->file(), L"\"\"");
        EXPECT_STREQ(status->description(), L"error type: 24\tmessage:");
    }
    EXPECT_EQ(recorder.calls, 0);
}

TEST_F(Throwing, CatchableAsAnUntypedPointer) {
    try {
        xo::throwWithMessage(L"XO_RELEASE_THROW");
    } catch (void* caught) {
        const std::unique_ptr<XoException> owner(static_cast<XoExceptionWithMsg*>(caught));
        EXPECT_STREQ(owner->description(), L"XO_RELEASE_THROW");
    }
}

TEST_F(Throwing, LatestRecorderReplacesTheEarlierOne) {
    Recorder first, second;
    veskSetCrashRecorder(&first);
    veskSetCrashRecorder(&second);
    try {
        xo::throwErrorStatus(Vesk::eOutOfMemory);
    } catch (XoException* caught) {
        delete caught;
    }
    EXPECT_EQ(first.calls, 0);
    EXPECT_EQ(second.calls, 1);
}

} // namespace
