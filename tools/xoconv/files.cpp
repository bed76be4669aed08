#include "files.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#include <io.h>
#include <share.h>
#include <windows.h>
#else
#include <sys/xattr.h>
#include <unistd.h>
#endif

#include "XoWildcard.h"

namespace xoconv {

namespace fs = std::filesystem;

std::wstring textUnits(const std::string& bytes) {
    std::wstring units;
    for (std::size_t i = 0; i < bytes.size();) {
        const unsigned char lead = static_cast<unsigned char>(bytes[i]);
        const int length = lead < 0x80                   ? 1
                           : lead >= 0xC2 && lead < 0xE0 ? 2
                           : lead >= 0xE0 && lead < 0xF0 ? 3
                           : lead >= 0xF0 && lead < 0xF5 ? 4
                                                         : 0;
        unsigned long code = length == 1   ? lead
                             : length == 2 ? lead & 0x1F
                             : length == 3 ? lead & 0x0F
                                           : lead & 0x07;
        bool valid = length > 0 && i + std::size_t(length) <= bytes.size();
        for (int k = 1; valid && k < length; ++k) {
            const unsigned char trail = static_cast<unsigned char>(bytes[i + std::size_t(k)]);
            valid = (trail & 0xC0) == 0x80;
            code = (code << 6) | (trail & 0x3F);
        }
        // Overlong forms, surrogates and code points past U+10FFFF are not UTF-8.
        valid = valid && !(length == 3 && (code < 0x800 || (code >= 0xD800 && code < 0xE000))) &&
                !(length == 4 && (code < 0x10000 || code > 0x10FFFF));
        if (!valid) {
            units += wchar_t(0xDC00 + lead);
            ++i;
            continue;
        }
        if (code >= 0x10000) {
            units += wchar_t(0xD800 + ((code - 0x10000) >> 10));
            units += wchar_t(0xDC00 + (code & 0x3FF));
        } else {
            units += wchar_t(code);
        }
        i += std::size_t(length);
    }
    return units;
}

std::wstring nameUnits(const fs::path& name) {
#if defined(_WIN32)
    return name.wstring();
#else
    return textUnits(name.string());
#endif
}

std::string shown(const fs::path& path) {
#if defined(_WIN32)
    return path.u8string();
#else
    return path.string();
#endif
}

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

std::FILE* binaryStandardInput() {
#if defined(_WIN32)
    ::_setmode(::_fileno(stdin), _O_BINARY);
#endif
    return stdin;
}

void binaryStandardOutput() {
#if defined(_WIN32)
    ::_setmode(::_fileno(stdout), _O_BINARY);
#endif
}

bool standardInputIsData() {
#if defined(_WIN32)
    const DWORD type = ::GetFileType(reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stdin))));
    return type == FILE_TYPE_DISK || type == FILE_TYPE_PIPE;
#else
    struct stat facts;
    return ::fstat(STDIN_FILENO, &facts) == 0 &&
           (S_ISFIFO(facts.st_mode) || S_ISREG(facts.st_mode) || S_ISSOCK(facts.st_mode));
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

// The pieces of an item between its stars, and how many characters each consumes:
// every element of the syntax but the star stands for exactly one character.
struct Piece {
    std::wstring pattern;
    std::size_t length = 0;
};

std::vector<Piece> piecesOf(const std::wstring& item) {
    std::vector<Piece> pieces(1);
    for (std::size_t i = 0; i < item.size(); ++i) {
        Piece& piece = pieces.back();
        if (item[i] == L'*') {
            pieces.emplace_back();
            continue;
        }
        std::size_t last = i;
        if (item[i] == L'`' && i + 1 < item.size()) {
            last = i + 1;
        } else if (item[i] == L'[') {
            const std::size_t close = item.find(L']', i + 1);
            last = close == std::wstring::npos ? item.size() - 1 : close;
        }
        piece.pattern.append(item, i, last - i + 1);
        ++piece.length;
        i = last;
    }
    return pieces;
}

// Whether the piece matches exactly the characters of name at offset. The matcher
// searches its text for the pattern, so it is given just those characters.
bool pieceAt(const std::wstring& name, std::size_t offset, const Piece& piece) {
    if (piece.length == 0)
        return true;
    const std::wstring window = name.substr(offset, piece.length);
    int start = 0, end = -1;
    // The matcher keeps state between calls: xoconv calls it from one thread only.
    return WildcardsStringMatch(window.c_str(), piece.pattern.c_str(), &start, &end) == 5100 &&
           start == 0 && end == int(piece.length) - 1;
}

// A file name matches an item when the item consumes the whole name. The library's
// matcher looks for a pattern anywhere in its text, a star at the end consumes nothing
// ("x*" ends after the x) and a star is not always retried with a longer run ("*.txt"
// on "caf\u00e9.txt" matches only from the fifth character), so the stars are placed
// here and the matcher judges the pieces between them. Each piece has a fixed
// length, so placing every middle piece as early as it fits finds a match when
// there is one.
bool matchesItem(const std::wstring& name, const std::wstring& item) {
    if (!item.empty() && item[0] == L'~')
        return !matchesItem(name, item.substr(1));
    const std::vector<Piece> pieces = piecesOf(item);
    const Piece& first = pieces.front();
    const Piece& last = pieces.back();
    if (pieces.size() == 1)
        return name.size() == first.length && pieceAt(name, 0, first);
    if (name.size() < first.length + last.length || !pieceAt(name, 0, first) ||
        !pieceAt(name, name.size() - last.length, last))
        return false;
    std::size_t from = first.length;
    const std::size_t limit = name.size() - last.length;
    for (std::size_t k = 1; k + 1 < pieces.size(); ++k) {
        const Piece& piece = pieces[k];
        bool placed = false;
        for (std::size_t at = from; at + piece.length <= limit && !placed; ++at) {
            if (pieceAt(name, at, piece)) {
                from = at + piece.length;
                placed = true;
            }
        }
        if (!placed)
            return false;
    }
    return true;
}

bool matchesWholeName(const std::wstring& name, const std::vector<std::wstring>& items) {
    for (const std::wstring& item : items)
        if (matchesItem(name, item))
            return true;
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
#if defined(_WIN32)
    // The arguments came in the ANSI code page, as the runtime gives them.
    const std::vector<std::wstring> items = patternItems(fs::path(patterns).wstring());
#else
    const std::vector<std::wstring> items = patternItems(textUnits(patterns));
#endif
    for (const fs::directory_entry& entry : entries) {
        if (entry.is_regular_file(failure) &&
            matchesWholeName(nameUnits(entry.path().filename()), items))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return true;
}

std::string systemError(const fs::path& path, int error) {
    return path.string() + ": " + std::strerror(error);
}

bool placeOutput(const fs::path& target, OutputPlace& place, std::string& error) {
    fs::path path = target;
#if defined(_WIN32)
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        error = systemError(path, EISDIR);
        return false;
    }
    place.path = path;
    place.direct = false;
    // A device (NUL, CON, COM1) or a pipe is written into: there is nothing to replace.
    const HANDLE handle = ::CreateFileW(path.wstring().c_str(), 0,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        const DWORD type = ::GetFileType(handle);
        place.direct = type == FILE_TYPE_CHAR || type == FILE_TYPE_PIPE;
        ::CloseHandle(handle);
    }
    return true;
#else
    for (int hop = 0; hop < 40; ++hop) {
        struct stat facts;
        if (::lstat(path.c_str(), &facts) != 0) {
            if (errno != ENOENT) {
                error = systemError(path, errno);
                return false;
            }
            place.path = path; // a new file, or the missing file a link names
            place.direct = false;
            return true;
        }
        if (S_ISLNK(facts.st_mode)) {
            std::error_code failure;
            const fs::path next = fs::read_symlink(path, failure);
            if (failure) {
                error = path.string() + ": " + failure.message();
                return false;
            }
            path = next.is_absolute() ? next : path.parent_path() / next;
            continue;
        }
        if (S_ISDIR(facts.st_mode)) {
            error = systemError(path, EISDIR);
            return false;
        }
        place.path = path;
        place.direct = !S_ISREG(facts.st_mode);
        return true;
    }
    error = systemError(target, ELOOP);
    return false;
#endif
}

std::FILE* openDirect(const fs::path& path) {
#if defined(_WIN32)
    return openFile(path, "wb");
#else
    const int fd = ::open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return nullptr;
    std::FILE* stream = ::fdopen(fd, "wb");
    if (!stream) {
        const int error = errno;
        ::close(fd);
        errno = error;
    }
    return stream;
#endif
}

namespace {

// Twelve letters and digits from the system's random source: 62 bits nobody can guess.
std::string unguessableToken() {
    static const char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device source;
    std::string token;
    for (int i = 0; i < 12; ++i)
        token += kAlphabet[source() % 36];
    return token;
}

// Creates path, failing when any file or link already holds the name. A file that
// will replace another is owner-only until it has that file's owner and permissions,
// so that nobody else opens it meanwhile.
int createExclusive(const fs::path& path, bool replacing) {
#if defined(_WIN32)
    (void)replacing; // a replaced file's attributes are the rename's business on Windows
    int fd = -1;
    errno = ::_wsopen_s(&fd, path.wstring().c_str(),
                        _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT, _SH_DENYRD,
                        _S_IREAD | _S_IWRITE);
    return fd;
#else
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                  replacing ? 0600 : 0666);
#endif
}

#if !defined(_WIN32)
// Gives the new file what the replaced one had: owner and group first (changing them
// clears the set-id bits), then the permissions, then the extended attributes where
// the file system keeps them. An owner that cannot be kept is a failure: the rename
// would hand the file to whoever runs the tool.
bool takeOver(int fd, const struct stat& old, const fs::path& temporary, std::string& error) {
    struct stat now;
    if (::fstat(fd, &now) != 0) {
        error = systemError(temporary, errno);
        return false;
    }
    if ((now.st_uid != old.st_uid || now.st_gid != old.st_gid) &&
        ::fchown(fd, old.st_uid, old.st_gid) != 0) {
        error = systemError(temporary, errno) + " (keeping the owner and group of the file it " +
                "replaces)";
        return false;
    }
    if (::fchmod(fd, old.st_mode & 07777) != 0) {
        error = systemError(temporary, errno);
        return false;
    }
    return true;
}

void copyAttributes(int from, int to) {
    const ssize_t size = ::flistxattr(from, nullptr, 0);
    if (size <= 0)
        return;
    std::string names(std::size_t(size), '\0');
    const ssize_t got = ::flistxattr(from, &names[0], names.size());
    for (std::size_t at = 0; got > 0 && at < std::size_t(got);) {
        const char* name = names.c_str() + at;
        const ssize_t length = ::fgetxattr(from, name, nullptr, 0);
        std::string value(length > 0 ? std::size_t(length) : 0, '\0');
        if (length >= 0 && ::fgetxattr(from, name, &value[0], value.size()) == length)
            ::fsetxattr(to, name, value.data(), value.size(), 0); // best effort
        at += std::strlen(name) + 1;
    }
}
#endif

// The temporary file an interruption must remove. The handler may only touch memory
// that is ready: the name is copied in before the flag says so, and the flag is
// dropped before the name changes.
#if defined(_WIN32)
wchar_t g_interrupted[32768];
#else
char g_interrupted[4096];
#endif
volatile std::sig_atomic_t g_armed = 0;

extern "C" void removeOnInterrupt(int signal) {
    if (g_armed) {
#if defined(_WIN32)
        ::_wunlink(g_interrupted);
#else
        ::unlink(g_interrupted);
#endif
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void armInterruptCleanup(const fs::path& temporary) {
    static const bool installed = [] {
        std::signal(SIGINT, removeOnInterrupt);
        std::signal(SIGTERM, removeOnInterrupt);
#if !defined(_WIN32)
        std::signal(SIGHUP, removeOnInterrupt);
#endif
        return true;
    }();
    (void)installed;
    g_armed = 0;
    const auto& name = temporary.native();
    if (name.size() >= sizeof g_interrupted / sizeof g_interrupted[0])
        return; // too long to keep: an interruption leaves it behind
    std::copy(name.begin(), name.end(), g_interrupted);
    g_interrupted[name.size()] = 0;
    g_armed = 1;
}

void disarmInterruptCleanup() {
    g_armed = 0;
}

} // namespace

PendingOutput::PendingOutput(fs::path target) : target_(std::move(target)) {
    bool replacing = false;
#if !defined(_WIN32)
    struct stat old;
    replacing = ::stat(target_.c_str(), &old) == 0 && S_ISREG(old.st_mode);
    if (replacing && old.st_nlink > 1) {
        // Replacing the file would leave its other names with the old text.
        error_ = target_.string() + ": the file has " + std::to_string(old.st_nlink) +
                 " names (hard links), and replacing it would separate them; convert a copy";
        return;
    }
#endif
    for (int attempt = 0; attempt < 100; ++attempt) {
        fs::path candidate = target_;
        candidate += ".xoconv-" + unguessableToken() + ".tmp";
        const int fd = createExclusive(candidate, replacing);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            error_ = systemError(candidate, errno);
            return;
        }
        temporary_ = candidate;         // from here on removed by the destructor
        armInterruptCleanup(candidate); // and by Ctrl-C or SIGTERM
#if defined(_WIN32)
        stream_ = ::_fdopen(fd, "wb");
        if (!stream_) {
            error_ = systemError(candidate, errno);
            ::_close(fd);
        }
#else
        if (replacing && !takeOver(fd, old, candidate, error_)) {
            ::close(fd);
            return;
        }
        if (replacing) {
            const int source = ::open(target_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
            if (source >= 0) {
                copyAttributes(source, fd);
                ::close(source);
            }
        }
        stream_ = ::fdopen(fd, "wb");
        if (!stream_) {
            error_ = systemError(candidate, errno);
            ::close(fd);
        }
#endif
        // Written through the library once it has opened the very file made here.
        if (stream_ && (library_ = FileStreamSink::open(candidate, stream_))) {
            std::fclose(stream_);
            stream_ = nullptr;
        }
        return;
    }
    error_ = target_.string() + ": no free name for a temporary file beside it";
}

Sink& PendingOutput::sink() {
    if (library_)
        return *library_;
    if (!stdio_)
        stdio_ = std::make_unique<StdioSink>(stream_);
    return *stdio_;
}

PendingOutput::~PendingOutput() {
    library_.reset();
    if (stream_)
        std::fclose(stream_);
    if (!temporary_.empty()) {
        std::error_code ignored;
        fs::remove(temporary_, ignored);
        disarmInterruptCleanup();
    }
}

bool PendingOutput::commit(std::string& error) {
    if (library_) {
        std::string reason;
        const bool closed = library_->close(reason);
        library_.reset();
        if (!closed) {
            error = shown(temporary_) + ": " + reason;
            return false;
        }
    } else if (!committedStream(error)) {
        return false;
    }
    std::error_code failure;
    fs::rename(temporary_, target_, failure);
    if (failure) {
        error = target_.string() + ": cannot move " + temporary_.string() +
                " into place: " + failure.message();
        return false;
    }
    disarmInterruptCleanup();
    temporary_.clear();
    return true;
}

bool PendingOutput::committedStream(std::string& error) {
    const bool flushed = stream_ && std::fflush(stream_) == 0 && !std::ferror(stream_);
    const bool closed = stream_ && std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (!flushed || !closed) {
        error = systemError(temporary_, errno);
        return false;
    }
    return true;
}

} // namespace xoconv
