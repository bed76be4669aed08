#include "files.h"

#include <algorithm>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <process.h>
#define XOCONV_GETPID _getpid
#else
#include <unistd.h>
#define XOCONV_GETPID getpid
#endif

#include "XoWildcard.h"

namespace xoconv {

namespace fs = std::filesystem;

std::FILE* openFile(const fs::path& path, const char* mode) {
#if defined(_WIN32)
    const std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
    return ::_wfopen(path.wstring().c_str(), wideMode.c_str());
#else
    return std::fopen(path.c_str(), mode);
#endif
}

std::FILE* bufferedStandardInput() {
#if defined(_WIN32)
    ::_setmode(::_fileno(stdin), _O_BINARY);
#endif
    std::FILE* copy = std::tmpfile();
    if (!copy)
        return nullptr;
    char chunk[65536];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, stdin)) > 0;) {
        if (std::fwrite(chunk, 1, n, copy) != n) {
            std::fclose(copy);
            return nullptr;
        }
    }
    std::rewind(copy);
    return copy;
}

void binaryStandardOutput() {
#if defined(_WIN32)
    ::_setmode(::_fileno(stdout), _O_BINARY);
#endif
}

bool standardErrorIsTerminal() {
#if defined(_WIN32)
    return ::_isatty(::_fileno(stderr)) != 0;
#else
    return ::isatty(::fileno(stderr)) != 0;
#endif
}

namespace {

// The items of a pattern list, split as the matcher splits it: at commas that no
// backquote escapes, empty items skipped. Each is matched on its own, because the
// matcher ends a list early once an item has retried further along the name.
std::vector<std::wstring> patternItems(const std::wstring& patterns) {
    std::vector<std::wstring> items;
    std::wstring item;
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        if (patterns[i] == L',' && (i == 0 || patterns[i - 1] != L'`')) {
            if (!item.empty())
                items.push_back(item);
            item.clear();
        } else {
            item += patterns[i];
        }
    }
    if (!item.empty() || items.empty())
        items.push_back(item);
    return items;
}

// The matcher finds an item anywhere in the text; a file name must match as a whole.
bool matchesWholeName(const std::wstring& name, const std::vector<std::wstring>& items) {
    for (const std::wstring& item : items) {
        int start = 0, end = -1;
        // The matcher keeps state between calls: xoconv calls it from one thread only.
        if (WildcardsStringMatch(name.c_str(), item.c_str(), &start, &end) == 5100 && start == 0 &&
            end == int(name.size()) - 1)
            return true;
    }
    return false;
}

} // namespace

bool selectFiles(const std::string& folder, const std::string& patterns,
                 std::vector<fs::path>& files, std::string& error) {
    std::error_code failure;
    fs::directory_iterator entries(fs::path(folder), failure);
    if (failure) {
        error = folder + ": " + failure.message();
        return false;
    }
    const std::vector<std::wstring> items = patternItems(fs::path(patterns).wstring());
    for (const fs::directory_entry& entry : entries) {
        if (entry.is_regular_file(failure) &&
            matchesWholeName(entry.path().filename().wstring(), items))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return true;
}

PendingOutput::PendingOutput(fs::path target) : target_(std::move(target)) {
    temporary_ = target_;
    temporary_ += ".xoconv-" + std::to_string(XOCONV_GETPID()) + ".tmp";
    stream_ = openFile(temporary_, "wb");
}

PendingOutput::~PendingOutput() {
    if (stream_)
        std::fclose(stream_);
    if (!temporary_.empty()) {
        std::error_code ignored;
        fs::remove(temporary_, ignored);
    }
}

bool PendingOutput::commit(std::string& error) {
    const bool flushed = stream_ && std::fflush(stream_) == 0 && !std::ferror(stream_);
    const bool closed = stream_ && std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (!flushed || !closed) {
        error = "write failed";
        return false;
    }
    std::error_code failure;
    fs::rename(temporary_, target_, failure);
    if (failure) {
        error = "cannot move the output into place: " + failure.message();
        return false;
    }
    temporary_.clear();
    return true;
}

} // namespace xoconv
