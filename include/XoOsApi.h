/// \file
/// One place for the application to call a set of window-system and shell functions.
#pragma once

#include "XoOsBaseExport.h"

#include <cstdint>

struct HWND__;
struct HINSTANCE__;
#if defined(_WIN32)
struct _IMAGELIST;
struct HICON__;
struct HIMC__;
struct HKL__;
struct tagCOMPOSITIONFORM;
struct tagCANDIDATEFORM;
#endif

/// Static pass-throughs, each with exactly the signature of the platform function of the
/// same name, forwarding its arguments unchanged and returning its result and last error.
///
/// On Linux only the functions with a meaning there exist: GetModuleFileNameW (the
/// running program for a null module, else the file dlopen loaded the handle from),
/// ShellExecuteW ("open" or a null verb through the desktop's opener, xdg-open),
/// SHGetFolderPathW (the common folders mapped onto the XDG directories), and SetTimer and
/// KillTimer without a window (the library's per-thread timers, see XoMessageQueue.h).
/// The image-list, input-method, icon and keyboard-layout functions are Windows-only.
class XOOSBASE_API XoOsApi {
public:
#if defined(_WIN32)
    using Dword = unsigned long; ///< DWORD
    using Long = long;           ///< LONG
    using Hresult = long;        ///< HRESULT

    /// ImageList_Create of comctl32: a new image list, or null.
    static _IMAGELIST* ImageList_Create(int cx, int cy, unsigned int flags, int initial, int grow);
    /// ImageList_ReplaceIcon: the index of the icon, or -1.
    static int ImageList_ReplaceIcon(_IMAGELIST* list, int index, HICON__* icon);
    /// ImageList_GetIcon: a new icon, or null.
    static HICON__* ImageList_GetIcon(_IMAGELIST* list, int index, unsigned int flags);
    /// ImageList_Destroy: nonzero on success.
    static int ImageList_Destroy(_IMAGELIST* list);
    /// ImmGetContext of imm32: the window's input context, or null.
    static HIMC__* ImmGetContext(HWND__* window);
    /// ImmReleaseContext: nonzero on success.
    static int ImmReleaseContext(HWND__* window, HIMC__* context);
    /// ImmSetCompositionWindow: nonzero on success.
    static int ImmSetCompositionWindow(HIMC__* context, tagCOMPOSITIONFORM* form);
    /// ImmSetCandidateWindow: nonzero on success.
    static int ImmSetCandidateWindow(HIMC__* context, tagCANDIDATEFORM* form);
    /// ImmGetCompositionStringW: bytes copied or needed, or a negative IMM_ERROR code.
    static Long ImmGetCompositionStringW(HIMC__* context, Dword index, void* buffer, Dword length);
#else
    using Dword = std::uint32_t;  ///< DWORD: 32 bits, as on Windows
    using Hresult = std::int32_t; ///< HRESULT
#endif
    using UintPtr = std::uintptr_t; ///< UINT_PTR
    /// TIMERPROC
    using TimerProc = void (*)(HWND__*, unsigned int, UintPtr, Dword);
    /// GetModuleFileNameW: the characters copied without the terminator; size and error
    /// 122 when the name was cut to fit; 0 on failure.
    static Dword GetModuleFileNameW(HINSTANCE__* module, wchar_t* fileName, Dword size);
    /// ShellExecuteW: a value above 32 on success, else an error code such as 2 (file not
    /// found) or 31 (no program for the verb).
    static HINSTANCE__* ShellExecuteW(HWND__* window, const wchar_t* operation, const wchar_t* file,
                                      const wchar_t* parameters, const wchar_t* directory,
                                      int show);
    /// SHGetFolderPathW: 0 with the folder's path in path (260 characters); E_INVALIDARG
    /// (0x80070057) for an unknown folder, an error HRESULT when the folder does not
    /// exist and creating it was not asked (0x80070003 on Linux).
    static Hresult SHGetFolderPathW(HWND__* window, int folder, void* token, Dword flags,
                                    wchar_t* path);
    /// SetTimer: the timer's identifier, or 0. Without a window its ticks come through the
    /// calling thread's queue (xoPeekMessage, xoDispatchMessage on Linux); the interval is
    /// kept within 10 to 0x7FFFFFFF milliseconds. Linux has no windows: a window fails.
    static UintPtr SetTimer(HWND__* window, UintPtr id, unsigned int elapse, TimerProc proc);
    /// KillTimer: nonzero on success; a timer of another thread is not found on Linux.
    static int KillTimer(HWND__* window, UintPtr id);
#if defined(_WIN32)
    /// GetKeyboardLayout: the thread's input locale.
    static HKL__* GetKeyboardLayout(Dword thread);
    /// LoadImageW: the image's handle, or null.
    static void* LoadImageW(HINSTANCE__* instance, const wchar_t* name, unsigned int type, int cx,
                            int cy, unsigned int load);
    /// DestroyIcon: nonzero on success.
    static int DestroyIcon(HICON__* icon);
#endif
};
