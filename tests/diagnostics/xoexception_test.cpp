#include "XoException.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <memory>
#include <string>

namespace {

int g_destroyed = 0;

struct Counted : XoException {
    ~Counted() override { ++g_destroyed; }
};

TEST(XoException, DefaultsAndFields) {
    const XoException plain;
    EXPECT_STREQ(plain.file(), L"");
    EXPECT_EQ(plain.line(), 0);
    EXPECT_FALSE(plain.hasHandled());
    EXPECT_FALSE(plain.hasEmbedException());
    EXPECT_EQ(plain.code(), 0);
    EXPECT_STREQ(plain.description(), L"XoException");
    EXPECT_STREQ(plain.className(), L"XoException");

    auto* inner = new XoException(L"inner.cpp", 3);
    XoException outer(L"outer.cpp", 7, inner);
    EXPECT_STREQ(outer.file(), L"outer.cpp");
    EXPECT_EQ(outer.line(), 7);
    EXPECT_TRUE(outer.hasEmbedException());
    EXPECT_EQ(outer.getEmbedException(), inner);
    outer.setHasHandled(true);
    EXPECT_TRUE(outer.hasHandled());

    XoException onlyEmbedded(new XoException);
    EXPECT_TRUE(onlyEmbedded.hasEmbedException());
    EXPECT_STREQ(onlyEmbedded.file(), L"");
}

TEST(XoException, CopyLeavesTheEmbeddedExceptionWithTheSource) {
    g_destroyed = 0;
    auto source = std::make_unique<XoException>(L"a.cpp", 12, new Counted);
    source->setHasHandled(true);
    {
        const XoException copy(*source);
        EXPECT_FALSE(copy.hasEmbedException());
        EXPECT_STREQ(copy.file(), L"a.cpp");
        EXPECT_EQ(copy.line(), 12);
        EXPECT_TRUE(copy.hasHandled());
    }
    EXPECT_EQ(g_destroyed, 0);
    source.reset();
    EXPECT_EQ(g_destroyed, 1);
}

TEST(XoExceptionWithMsg, OwnsItsTextAndSoDoesACopy) {
    std::wstring text = L"Out of stream buffer!";
    auto source = std::make_unique<XoExceptionWithMsg>(L"\"\"", 0, text.c_str());
    text.assign(text.size(), L'x'); // the caller's buffer may change or go away
    EXPECT_STREQ(source->description(), L"Out of stream buffer!");

    const XoExceptionWithMsg copy(*source);
    EXPECT_NE(copy.description(), source->description());
    source.reset();
    EXPECT_STREQ(copy.description(), L"Out of stream buffer!");
    EXPECT_STREQ(copy.className(), L"XoException");
}

TEST(XoExceptionWithMsg, KeepsTheEmbeddedExceptionAndAcceptsNullText) {
    g_destroyed = 0;
    {
        XoExceptionWithMsg outer(L"f", 1, nullptr, new Counted);
        EXPECT_STREQ(outer.description(), L"");
        EXPECT_TRUE(outer.hasEmbedException());
    }
    EXPECT_EQ(g_destroyed, 1);
}

TEST(XoErrorStatus, DescribesTypeAndMessageOnceAndCaches) {
    const XoErrorStatus withMessage(Vesk::eInvalidInput, L"disk", L"s.cpp", 4);
    const wchar_t* text = withMessage.description();
    EXPECT_STREQ(text, L"error type: 3\tmessage:disk");
    EXPECT_EQ(withMessage.description(), text);
    EXPECT_EQ(withMessage.errorType(), Vesk::eInvalidInput);
    EXPECT_EQ(withMessage.line(), 4);

    EXPECT_STREQ(XoErrorStatus(Vesk::eInvalidInput).description(), L"error type: 3\tmessage:");
    EXPECT_STREQ(XoErrorStatus(static_cast<Vesk::ErrorStatus>(-7), L"f", 1).description(),
                 L"error type: -7\tmessage:");
}

TEST(XoErrorStatus, CopyHasItsOwnDescription) {
    auto source = std::make_unique<XoErrorStatus>(Vesk::eFileNotFound, L"a.dwg", L"f", 2);
    const XoErrorStatus undescribed(*source);
    const wchar_t* text = source->description();
    const XoErrorStatus described(*source);
    EXPECT_NE(described.description(), text);
    source.reset();
    EXPECT_STREQ(described.description(), L"error type: 76\tmessage:a.dwg");
    EXPECT_STREQ(undescribed.description(), L"error type: 76\tmessage:a.dwg");
    EXPECT_EQ(described.errorType(), Vesk::eFileNotFound);
}

TEST(XoErrorStatus, LongMessageIsCutAtTheBuffer) {
    const std::wstring message(2000, L'm');
    const XoErrorStatus status(Vesk::eFileError, message.c_str(), L"f", 1);
    EXPECT_EQ(std::wcslen(status.description()), 511u);
}

} // namespace
