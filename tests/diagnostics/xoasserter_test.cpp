#include "XoAsserter.h"
#include "XoTracer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct AssertCall {
    const wchar_t* expression;
    const wchar_t* file;
    int line;
};
std::vector<AssertCall> g_asserts;

void countingAssert(const wchar_t* expression, const wchar_t* file, int line) {
    g_asserts.push_back({expression, file, line});
}

TEST(XoAsserter, ReportsThroughTheInstalledFunctionWhichReplacesTheBuiltInOne) {
    g_asserts.clear();
    const XoAssertFunction builtIn = XoAsserter::setAssertFunction(countingAssert);
    ASSERT_NE(builtIn, nullptr);
    EXPECT_NE(builtIn, &XoAsserter::defaultAssert) << "the initial report is not the no-op";
    EXPECT_EQ(XoAsserter::sm_pfnAssert, &countingAssert);

    const wchar_t* expression = L"count > 0";
    const wchar_t* file = L"layer.cpp";
    XoAsserter(expression, file, 42);
    ASSERT_EQ(g_asserts.size(), 1u);
    EXPECT_EQ(g_asserts[0].expression, expression);
    EXPECT_EQ(g_asserts[0].file, file);
    EXPECT_EQ(g_asserts[0].line, 42);

    EXPECT_EQ(XoAsserter::setAssertFunction(builtIn), &countingAssert);
    XoAsserter(L"x", L"y", 1);
    EXPECT_EQ(g_asserts.size(), 1u);
}

TEST(XoAsserter, BuiltInReportCopesWithNullAndLongTextsAndContinues) {
    const XoAssertFunction builtIn = XoAsserter::setAssertFunction(XoAsserter::defaultAssert);
    XoAsserter::setAssertFunction(builtIn);
    builtIn(nullptr, nullptr, -2147483647 - 1);
    const std::wstring longText(5000, L'e');
    builtIn(longText.c_str(), L"", 0);
    XoAsserter::defaultAssert(nullptr, nullptr, 0);
    pmutAssertMessage(L"e", L"f", 1, L"m");
    SUCCEED() << "the report neither throws nor aborts";
}

std::vector<std::wstring> g_traces;

void keepTrace(const wchar_t* text) {
    g_traces.emplace_back(text);
}
void keepTraceA(const char*) {}

class Tracing : public ::testing::Test {
protected:
    void SetUp() override { g_traces.clear(); }
    void TearDown() override { XoTracer::setTraceFunctionW(XoTracer::defaultTraceW); }
};

TEST_F(Tracing, SettersReturnTheFunctionJustInstalled) {
    EXPECT_EQ(XoTracer::sm_pfnTraceW, &XoTracer::defaultTraceW);
    EXPECT_EQ(XoTracer::sm_pfnTraceA, &XoTracer::defaultTraceA);
    EXPECT_EQ(XoTracer::setTraceFunctionW(keepTrace), &keepTrace);
    EXPECT_EQ(XoTracer::setTraceFunctionA(keepTraceA), &keepTraceA);
    EXPECT_EQ(XoTracer::sm_pfnTraceA, &keepTraceA);
    EXPECT_EQ(XoTracer::setTraceFunctionA(XoTracer::defaultTraceA), &XoTracer::defaultTraceA);
}

TEST_F(Tracing, FormatsWithTheWindowsMeaningAndHandsTheTextOver) {
    XoTracer::setTraceFunctionW(keepTrace);
    XoTracer(L"");
    XoTracer(L"%s: %d of %S at %c%C", L"layer", 3, "sheet", L'A', 'b');
    const std::wstring longName(3000, L'n');
    XoTracer(L"[%s]", longName.c_str());
    ASSERT_EQ(g_traces.size(), 3u);
    EXPECT_EQ(g_traces[0], L"");
    EXPECT_EQ(g_traces[1], L"layer: 3 of sheet at Ab");
    EXPECT_EQ(g_traces[2], L"[" + longName + L"]");
}

TEST_F(Tracing, DefaultRoutinesAcceptAnyText) {
    XoTracer::defaultTraceW(L"trace \u00e9\u4e2d\n");
    XoTracer::defaultTraceA("trace\n");
    XoTracer(L"to the debugger %d\n", 1);
    SUCCEED();
}

} // namespace
