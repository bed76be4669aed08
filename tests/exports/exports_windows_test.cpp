// Reads the export table of the loaded XoOsBase.dll and compares it with the expected
// list: named exports by their (demangled) names, ordinal-only exports as "@N".
#include <gtest/gtest.h>

#include <windows.h>

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "XoLocaleHelpers.h"
#include "XoLock.h"

namespace {

const char kExpected[] =
#include "expected_exports.inc"
    ;

std::string demangle(const char* name) {
    int status = 0;
    char* text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    if (status != 0 || text == nullptr)
        return name;
    std::string result(text);
    std::free(text);
    return result;
}

std::set<std::string> exportsOf(HMODULE module) {
    auto* base = reinterpret_cast<const unsigned char*>(module);
    auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& entry =
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    auto* dir = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + entry.VirtualAddress);
    auto* names = reinterpret_cast<const DWORD*>(base + dir->AddressOfNames);
    auto* ordinals = reinterpret_cast<const WORD*>(base + dir->AddressOfNameOrdinals);
    auto* functions = reinterpret_cast<const DWORD*>(base + dir->AddressOfFunctions);

    std::set<std::string> result;
    std::set<DWORD> named;
    for (DWORD i = 0; i < dir->NumberOfNames; ++i) {
        result.insert(demangle(reinterpret_cast<const char*>(base + names[i])));
        named.insert(ordinals[i]);
    }
    for (DWORD i = 0; i < dir->NumberOfFunctions; ++i)
        if (functions[i] != 0 && named.count(i) == 0)
            result.insert("@" + std::to_string(dir->Base + i));
    return result;
}

std::set<std::string> expectedExports() {
    std::set<std::string> result;
    std::istringstream lines(kExpected);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line[0] != '#')
            result.insert(line);
    return result;
}

std::string listOf(const std::set<std::string>& items) {
    std::string text;
    for (const std::string& item : items)
        text += "  " + item + "\n";
    return text;
}

TEST(Exports, DllExportsExactlyTheExpectedList) {
    delete createXoLock(); // binds the DLL
    const HMODULE module = GetModuleHandleW(L"XoOsBase.dll");
    ASSERT_NE(module, nullptr);
    const std::set<std::string> actual = exportsOf(module);
    const std::set<std::string> expected = expectedExports();
    std::set<std::string> missing, extra;
    std::set_difference(expected.begin(), expected.end(), actual.begin(), actual.end(),
                        std::inserter(missing, missing.end()));
    std::set_difference(actual.begin(), actual.end(), expected.begin(), expected.end(),
                        std::inserter(extra, extra.end()));
    EXPECT_TRUE(missing.empty()) << "missing:\n" << listOf(missing);
    EXPECT_TRUE(extra.empty()) << "unexpected:\n" << listOf(extra);
}

// Other modules bind to the locale helpers by these numbers: each must be exported with
// no name, and be the function the header declares (which the import library binds).
TEST(Exports, LocaleHelpersHaveTheirOrdinalsAndNoNames) {
    const HMODULE module = GetModuleHandleW(L"XoOsBase.dll");
    ASSERT_NE(module, nullptr);
    auto* base = reinterpret_cast<const unsigned char*>(module);
    auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    auto* dir = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
        base + nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    auto* functions = reinterpret_cast<const DWORD*>(base + dir->AddressOfFunctions);
    auto* nameOrdinals = reinterpret_cast<const WORD*>(base + dir->AddressOfNameOrdinals);

    // Taken at run time, the address is the import's target, not the local stub.
    std::vector<std::pair<DWORD, const void*>> helpers;
    auto add = [&](DWORD ordinal, const void* function) {
        helpers.emplace_back(ordinal, function);
    };
    add(1, reinterpret_cast<const void*>(&getCharSetByLcid));
    add(2, reinterpret_cast<const void*>(&isRightToLeftLanguage));
    add(3, reinterpret_cast<const void*>(&getAsianIndexByLcid));
    add(4, reinterpret_cast<const void*>(&getLangIdByCharSet));
    add(5, reinterpret_cast<const void*>(&getLangIdForChar));
    add(6, reinterpret_cast<const void*>(&getCharSetByAsianIndex));
    add(7, reinterpret_cast<const void*>(&getLcidByAsianIndex));
    add(11, reinterpret_cast<const void*>(&isDoubleByteLcid));
    add(12, reinterpret_cast<const void*>(&getLcidByCharSet));
    add(14, reinterpret_cast<const void*>(&getCharScriptClass));
    add(16, reinterpret_cast<const void*>(&getAnsiCpByCharSet));
    add(17, reinterpret_cast<const void*>(&getCharSetForChar));
    add(18, reinterpret_cast<const void*>(&getCharSetByAnsiCp));
    add(21, reinterpret_cast<const void*>(&systemDefaultLcid));
    add(22, reinterpret_cast<const void*>(&getAnsiCpCount));
    add(23, reinterpret_cast<const void*>(&getAnsiCpAt));
    add(24, reinterpret_cast<const void*>(&getLangIdByAnsiCp));
    add(26, reinterpret_cast<const void*>(&getAnsiCpByLcid));
    add(27, reinterpret_cast<const void*>(&getAnsiCpByAsianIndex));
    add(29, reinterpret_cast<const void*>(&getAsianIndexByAnsiCp));
    for (const auto& [ordinal, function] : helpers) {
        ASSERT_GE(ordinal, dir->Base);
        const DWORD slot = ordinal - dir->Base;
        ASSERT_LT(slot, dir->NumberOfFunctions) << ordinal;
        EXPECT_NE(functions[slot], 0u) << ordinal;
        for (DWORD i = 0; i < dir->NumberOfNames; ++i)
            EXPECT_NE(nameOrdinals[i], slot) << "ordinal " << ordinal << " has a name";
        const FARPROC byNumber = GetProcAddress(module, MAKEINTRESOURCEA(ordinal));
        EXPECT_EQ(reinterpret_cast<const void*>(byNumber), function) << ordinal;
    }
    using Count = int (*)();
    void* count = reinterpret_cast<void*>(GetProcAddress(module, MAKEINTRESOURCEA(22)));
    EXPECT_EQ(reinterpret_cast<Count>(count)(), 14);
}

} // namespace
