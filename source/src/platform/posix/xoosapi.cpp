// The pass-throughs that mean something on Linux, answering as their Windows namesakes
// do: the same results, the same error numbers.
#include "XoOsApi.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "platform/error.h"
#include "platform/messagequeue.h"
#include "platform/posix/utf8path.h"

namespace os = xo::platform;

namespace {

// ShellExecuteW's answers: above 32 is success.
constexpr std::intptr_t kShellDone = 33;
constexpr std::intptr_t kShellFileNotFound = 2;
constexpr std::intptr_t kShellPathNotFound = 3;
constexpr std::intptr_t kShellNoAssociation = 31;

// SHGetFolderPathW's.
constexpr XoOsApi::Hresult kOk = 0;
constexpr XoOsApi::Hresult kInvalidArgument = XoOsApi::Hresult(0x80070057u);
constexpr XoOsApi::Hresult kPathNotFound = XoOsApi::Hresult(0x80070003u);
constexpr XoOsApi::Hresult kNameTooLong = XoOsApi::Hresult(0x800700CEu);
constexpr int kFolderMask = 0x00FF;
constexpr int kFlagCreate = 0x8000;
constexpr int kFlagDontVerify = 0x4000;
constexpr XoOsApi::Dword kTypeDefault = 1; // SHGFP_TYPE_DEFAULT: ignore the user's choice
constexpr std::size_t kMaxPath = 260;

std::string programPath() {
    std::string path(4096, '\0');
    const ssize_t n = ::readlink("/proc/self/exe", path.data(), path.size());
    path.resize(n > 0 ? std::size_t(n) : 0);
    return path;
}

HINSTANCE__* shellResult(std::intptr_t value) {
    return reinterpret_cast<HINSTANCE__*>(value);
}

std::string environment(const char* name, const std::string& otherwise) {
    const char* value = std::getenv(name);
    return value != nullptr && *value == '/' ? std::string(value) : otherwise;
}

std::string home() {
    const char* value = std::getenv("HOME");
    return value != nullptr ? value : "/";
}

// A folder of ~/.config/user-dirs.dirs (XDG_DESKTOP_DIR="$HOME/Desktop"), else the
// default English name under the home folder, as xdg-user-dirs makes them.
std::string userDirectory(const char* key, const char* fallback, bool userChoice) {
    const std::string defaultPath = home() + "/" + fallback;
    if (!userChoice)
        return defaultPath;
    std::ifstream in(environment("XDG_CONFIG_HOME", home() + "/.config") + "/user-dirs.dirs");
    const std::string prefix = std::string("XDG_") + key + "_DIR=\"";
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, prefix.size(), prefix) != 0 || line.back() != '"')
            continue;
        std::string value = line.substr(prefix.size(), line.size() - prefix.size() - 1);
        if (value.compare(0, 5, "$HOME") == 0)
            value = home() + value.substr(5);
        return value.empty() || value[0] != '/' ? defaultPath : value;
    }
    return defaultPath;
}

// The CSIDL folders with a meaning on Linux; false for the others.
bool folderPath(int folder, bool userChoice, std::string& path) {
    switch (folder) {
    case 0x00: // CSIDL_DESKTOP
    case 0x10: // CSIDL_DESKTOPDIRECTORY
        path = userDirectory("DESKTOP", "Desktop", userChoice);
        return true;
    case 0x05: // CSIDL_PERSONAL
        path = userDirectory("DOCUMENTS", "Documents", userChoice);
        return true;
    case 0x0D: // CSIDL_MYMUSIC
        path = userDirectory("MUSIC", "Music", userChoice);
        return true;
    case 0x0E: // CSIDL_MYVIDEO
        path = userDirectory("VIDEOS", "Videos", userChoice);
        return true;
    case 0x27: // CSIDL_MYPICTURES
        path = userDirectory("PICTURES", "Pictures", userChoice);
        return true;
    case 0x15: // CSIDL_TEMPLATES
        path = userDirectory("TEMPLATES", "Templates", userChoice);
        return true;
    case 0x1A: // CSIDL_APPDATA
        path = environment("XDG_CONFIG_HOME", home() + "/.config");
        return true;
    case 0x1C: // CSIDL_LOCAL_APPDATA
        path = environment("XDG_DATA_HOME", home() + "/.local/share");
        return true;
    case 0x14: // CSIDL_FONTS
        path = environment("XDG_DATA_HOME", home() + "/.local/share") + "/fonts";
        return true;
    case 0x20: // CSIDL_INTERNET_CACHE
        path = environment("XDG_CACHE_HOME", home() + "/.cache");
        return true;
    case 0x23: // CSIDL_COMMON_APPDATA
        path = "/etc/xdg";
        return true;
    case 0x28: // CSIDL_PROFILE
        path = home();
        return true;
    default:
        return false;
    }
}

bool isFolder(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool createFolders(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST)
            return false;
        if (slash == std::string::npos)
            return isFolder(path);
    }
}

// Runs the opener in a grandchild, so nobody waits for it and no zombie stays; a pipe
// closed on exec tells whether it started.
bool startDetached(const char* program, const std::string& target, const std::string& folder) {
    char* argv[] = {const_cast<char*>(program), const_cast<char*>(target.c_str()), nullptr};
    int started[2];
    if (::pipe2(started, O_CLOEXEC) != 0)
        return false;
    const pid_t child = ::fork();
    if (child == 0) {
        if (::fork() == 0) {
            ::setsid();
            if (!folder.empty() && ::chdir(folder.c_str()) != 0)
                ::_exit(127);
            ::execvp(program, argv);
            const char failed = 1;
            (void)!::write(started[1], &failed, 1);
            ::_exit(127);
        }
        ::_exit(0);
    }
    ::close(started[1]);
    if (child > 0)
        ::waitpid(child, nullptr, 0);
    char failed = 0;
    const bool execFailed = child < 0 || ::read(started[0], &failed, 1) == 1;
    ::close(started[0]);
    return !execFailed;
}

bool isOpen(const wchar_t* operation) {
    if (operation == nullptr)
        return true;
    const wchar_t open[] = L"open";
    for (int i = 0; i < 5; ++i) {
        const wchar_t c = operation[i] >= L'A' && operation[i] <= L'Z' ? wchar_t(operation[i] + 32)
                                                                       : operation[i];
        if (c != open[i])
            return false;
    }
    return true;
}

bool isUrl(const std::string& file) {
    const std::size_t colon = file.find("://");
    return colon != std::string::npos && colon > 1;
}

} // namespace

XoOsApi::Dword XoOsApi::GetModuleFileNameW(HINSTANCE__* module, wchar_t* fileName, Dword size) {
    std::string path;
    if (module == nullptr) {
        path = programPath();
    } else {
        struct link_map* map = nullptr;
        if (::dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
            os::setThreadLastError(os::kErrorModNotFound);
            return 0;
        }
        path = map->l_name[0] != '\0' ? map->l_name : programPath();
    }
    const std::wstring wide = os::pathFromUtf8(path);
    if (wide.empty() || size == 0) {
        os::setThreadLastError(wide.empty() ? os::kErrorFileNotFound
                                            : os::kErrorInsufficientBuffer);
        return 0;
    }
    if (wide.size() >= size) { // cut to fit, terminated, as Windows does
        wide.copy(fileName, size - 1);
        fileName[size - 1] = L'\0';
        os::setThreadLastError(os::kErrorInsufficientBuffer);
        return size;
    }
    wide.copy(fileName, wide.size());
    fileName[wide.size()] = L'\0';
    os::setThreadLastError(os::kErrorSuccess);
    return Dword(wide.size());
}

HINSTANCE__* XoOsApi::ShellExecuteW(HWND__*, const wchar_t* operation, const wchar_t* file,
                                    const wchar_t*, const wchar_t* directory, int) {
    std::string target, folder;
    if (!isOpen(operation))
        return shellResult(kShellNoAssociation);
    if (!os::pathToUtf8(file, target) || target.empty())
        return shellResult(kShellFileNotFound);
    if (directory != nullptr &&
        (!os::pathToUtf8(directory, folder) || (!folder.empty() && !isFolder(folder))))
        return shellResult(kShellPathNotFound);
    if (!isUrl(target)) {
        if (target[0] != '/' && !folder.empty())
            target = folder + "/" + target;
        if (::access(target.c_str(), F_OK) != 0)
            return shellResult(errno == ENOTDIR ? kShellPathNotFound : kShellFileNotFound);
    }
    return shellResult(startDetached("xdg-open", target, folder) ? kShellDone
                                                                 : kShellNoAssociation);
}

XoOsApi::Hresult XoOsApi::SHGetFolderPathW(HWND__*, int folder, void*, Dword flags, wchar_t* path) {
    std::string found;
    if (path == nullptr || !folderPath(folder & kFolderMask, flags != kTypeDefault, found))
        return kInvalidArgument;
    const std::wstring wide = os::pathFromUtf8(found);
    if (wide.size() >= kMaxPath)
        return kNameTooLong;
    if ((folder & kFlagCreate) != 0 && !isFolder(found) && !createFolders(found))
        return kPathNotFound;
    if ((folder & (kFlagCreate | kFlagDontVerify)) == 0 && !isFolder(found))
        return kPathNotFound;
    wide.copy(path, wide.size());
    path[wide.size()] = L'\0';
    return kOk;
}

namespace {
constexpr unsigned int kTimerMinimum = 10; // USER_TIMER_MINIMUM
constexpr unsigned int kTimerMaximum = 0x7FFFFFFF;
} // namespace

XoOsApi::UintPtr XoOsApi::SetTimer(HWND__* window, UintPtr, unsigned int elapse, TimerProc proc) {
    if (window != nullptr) { // no windows here
        os::setThreadLastError(os::kErrorInvalidWindowHandle);
        return 0;
    }
    const unsigned int interval = elapse < kTimerMinimum   ? kTimerMinimum
                                  : elapse > kTimerMaximum ? kTimerMaximum
                                                           : elapse;
    return os::setThreadTimer(interval, proc);
}

int XoOsApi::KillTimer(HWND__* window, UintPtr id) {
    return window == nullptr && os::killThreadTimer(id) ? 1 : 0;
}
