#include "platform/codepage.h"

#include <atomic>

#include "platform/codepages/codepageengine.h"
#include "platform/error.h"
#include "platform/posix/localefacts.h"

namespace xo::platform {

namespace {

int reported(codepages::Outcome outcome) {
    if (outcome.count == 0)
        setThreadLastError(outcome.error);
    return outcome.count;
}

std::atomic<int>& runtimeCodePage() {
    static std::atomic<int> codePage{int(processLocaleFacts().ansiCodePage)};
    return codePage;
}

} // namespace

int multiByteToWideChar(unsigned codePage, unsigned flags, const char* src, int srcLen,
                        wchar_t* dst, int dstLen) {
    return reported(codepages::multiByteToWideChar(concreteCodePage(codePage), flags, src, srcLen,
                                                   dst, dstLen));
}

int wideCharToMultiByte(unsigned codePage, unsigned flags, const wchar_t* src, int srcLen,
                        char* dst, int dstLen, const char* defaultChar, bool* usedDefault) {
    return reported(codepages::wideCharToMultiByte(concreteCodePage(codePage), flags, src, srcLen,
                                                   dst, dstLen, defaultChar, usedDefault));
}

bool isDbcsLeadByte(unsigned codePage, unsigned char byte) {
    return codepages::isLeadByte(concreteCodePage(codePage), byte);
}

// The symbolic numbers name pages for conversions only, as on Windows.
bool isValidCodePage(unsigned codePage) {
    return codePage > kCpThreadAcp && codepages::isValidCodePage(codePage);
}

unsigned systemAnsiCodePage() {
    return processLocaleFacts().ansiCodePage;
}

unsigned systemOemCodePage() {
    return processLocaleFacts().oemCodePage;
}

int multiByteCodePage() {
    return runtimeCodePage().load(std::memory_order_relaxed);
}

int setMultiByteCodePage(int codePage) {
    switch (codePage) {
    case 0:
    case -4:
        codePage = 20127;
        break; // single-byte; the C locale's page
    case -2:
        codePage = int(systemOemCodePage());
        break;
    case -3:
        codePage = int(systemAnsiCodePage());
        break;
    default:
        break;
    }
    if (codePage <= int(kCpThreadAcp) || !codepages::isValidCodePage(unsigned(codePage)))
        return -1;
    runtimeCodePage().store(codePage, std::memory_order_relaxed);
    return 0;
}

std::uint32_t systemDefaultLcid() {
    return processLocaleFacts().lcid;
}

// Windows refuses a query that names a length but gives no buffer.
int localeAnsiCodePageQuery(std::uint32_t) {
    setThreadLastError(kErrorInvalidParameter);
    return 0;
}

// Windows has nowhere to write the answer, and fails.
bool translateCharsetInfoFromLocale(std::uint32_t) {
    return false;
}

} // namespace xo::platform
