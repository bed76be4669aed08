#include "platform/sysinfo.h"

#include <windows.h>

#include <cwchar>
#include <new>

namespace xo::platform {

static_assert(sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION) == kProcessorRecordSize);
static_assert(offsetof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION, Relationship) ==
              kProcessorRecordRelationship);
static_assert(RelationProcessorCore == 0);

namespace {

constexpr DWORD kBuildMask = 0xFFFF; // the high bits of the NT build are flags
constexpr UINT kPathCapacity = 260;

using RtlGetNtVersionNumbers = void(WINAPI*)(DWORD*, DWORD*, DWORD*);
using GetLogicalProcessorInformationFn = BOOL(WINAPI*)(PSYSTEM_LOGICAL_PROCESSOR_INFORMATION,
                                                       PDWORD);

bool fromNtdll(std::uint32_t* major, std::uint32_t* minor, std::uint32_t* build) {
    HMODULE ntdll = ::LoadLibraryW(L"ntdll.dll");
    if (ntdll == nullptr)
        return false;
    const auto numbers = reinterpret_cast<RtlGetNtVersionNumbers>(
        reinterpret_cast<void*>(::GetProcAddress(ntdll, "RtlGetNtVersionNumbers")));
    if (numbers != nullptr) {
        DWORD ma = 0, mi = 0, bu = 0;
        numbers(&ma, &mi, &bu);
        *major = ma;
        *minor = mi;
        *build = bu & kBuildMask;
    }
    ::FreeLibrary(ntdll);
    return numbers != nullptr;
}

} // namespace

bool readVersionNumbers(std::uint32_t* major, std::uint32_t* minor, std::uint32_t* build) {
    if (fromNtdll(major, minor, build))
        return true;
    OSVERSIONINFOW info = {};
    info.dwOSVersionInfoSize = sizeof info; // 276
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    if (!::GetVersionExW(&info))
        return false;
#pragma GCC diagnostic pop
    *major = info.dwMajorVersion;
    *minor = info.dwMinorVersion;
    *build = info.dwBuildNumber;
    return true;
}

bool processorRecords(std::vector<unsigned char>& records) {
    const auto query = reinterpret_cast<GetLogicalProcessorInformationFn>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32"), "GetLogicalProcessorInformation")));
    if (query == nullptr)
        return false;
    DWORD length = 0;
    records.clear();
    for (;;) {
        auto* buffer = reinterpret_cast<PSYSTEM_LOGICAL_PROCESSOR_INFORMATION>(records.data());
        if (query(buffer, &length)) {
            records.resize(length);
            return true;
        }
        if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
            return false;
        try {
            records.assign(length, 0);
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
}

int systemProcessorCount() {
    SYSTEM_INFO info;
    ::GetSystemInfo(&info);
    return int(info.dwNumberOfProcessors);
}

void* loadSystemLibrary(const wchar_t* name) {
    wchar_t path[kPathCapacity];
    const UINT length = ::GetSystemDirectoryW(path, kPathCapacity);
    if (length == 0 || length >= kPathCapacity ||
        length + 1 + std::wcslen(name) >= std::size_t(kPathCapacity))
        return nullptr;
    path[length] = L'\\';
    std::wcscpy(path + length + 1, name);
    return ::LoadLibraryW(path);
}

void* loadLibrary(const wchar_t* name) {
    return ::LoadLibraryW(name);
}

} // namespace xo::platform
