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

} // namespace
