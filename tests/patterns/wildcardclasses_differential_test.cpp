// The digit, letter and other-character wildcards beside the Windows runtime's own
// isdigit, isalpha and isalnum in the C locale, for every low byte under three high bytes.
#if defined(_WIN32)

#include <gtest/gtest.h>

#include <windows.h>

#include <cctype>

#include "XoWildcard.h"

namespace {

using ClassTest = int(__cdecl*)(int);

struct Classes {
    ClassTest digit;
    ClassTest alpha;
    ClassTest alnum;
};

// Through void (*)(), the one function type a cast between others may pass.
ClassTest entry(HMODULE module, const char* name) {
    return reinterpret_cast<ClassTest>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

bool matches(wchar_t unit, const wchar_t* pattern) {
    const wchar_t text[] = {unit, 0};
    int start = 0;
    int end = 0;
    return WildcardsStringMatch(text, pattern, &start, &end) == 5100;
}

int differencesFrom(const Classes& runtime) {
    int differences = 0;
    for (int b = 0; b < 256; ++b) {
        for (unsigned high : {0x0000u, 0x0100u, 0xFF00u}) {
            if (b == 0 && high == 0)
                continue; // the terminator
            const auto unit = static_cast<wchar_t>(high | unsigned(b));
            differences += matches(unit, L"#") != (runtime.digit(b) != 0);
            differences += matches(unit, L"@") != (runtime.alpha(b) != 0);
            differences += matches(unit, L".") != (runtime.alnum(b) == 0);
        }
    }
    return differences;
}

int __cdecl linkedDigit(int c) {
    return isdigit(c);
}
int __cdecl linkedAlpha(int c) {
    return isalpha(c);
}
int __cdecl linkedAlnum(int c) {
    return isalnum(c);
}

TEST(WildcardClasses, MatchTheLinkedRuntime) {
    EXPECT_EQ(differencesFrom({linkedDigit, linkedAlpha, linkedAlnum}), 0);
}

TEST(WildcardClasses, MatchTheUniversalRuntime) {
    const HMODULE ucrt = LoadLibraryW(L"ucrtbase.dll");
    ASSERT_NE(ucrt, nullptr);
    const Classes classes{entry(ucrt, "isdigit"), entry(ucrt, "isalpha"), entry(ucrt, "isalnum")};
    ASSERT_TRUE(classes.digit != nullptr && classes.alpha != nullptr && classes.alnum != nullptr);
    EXPECT_EQ(differencesFrom(classes), 0);
}

} // namespace

#endif
