// Every pass-through forwards as it is: the handle types of the header are the very
// structures <windows.h> declares, so nothing is converted.
#include "XoOsApi.h"

#include <windows.h>

#include <commctrl.h>
#include <imm.h>
#include <shellapi.h>
#include <shlobj.h>

static_assert(sizeof(XoOsApi::Dword) == sizeof(DWORD));
static_assert(sizeof(XoOsApi::UintPtr) == sizeof(UINT_PTR));

HIMAGELIST XoOsApi::ImageList_Create(int cx, int cy, unsigned int flags, int initial, int grow) {
    return ::ImageList_Create(cx, cy, flags, initial, grow);
}

int XoOsApi::ImageList_ReplaceIcon(HIMAGELIST list, int index, HICON icon) {
    return ::ImageList_ReplaceIcon(list, index, icon);
}

HICON XoOsApi::ImageList_GetIcon(HIMAGELIST list, int index, unsigned int flags) {
    return ::ImageList_GetIcon(list, index, flags);
}

int XoOsApi::ImageList_Destroy(HIMAGELIST list) {
    return ::ImageList_Destroy(list);
}

HIMC XoOsApi::ImmGetContext(HWND window) {
    return ::ImmGetContext(window);
}

int XoOsApi::ImmReleaseContext(HWND window, HIMC context) {
    return ::ImmReleaseContext(window, context);
}

int XoOsApi::ImmSetCompositionWindow(HIMC context, COMPOSITIONFORM* form) {
    return ::ImmSetCompositionWindow(context, form);
}

int XoOsApi::ImmSetCandidateWindow(HIMC context, CANDIDATEFORM* form) {
    return ::ImmSetCandidateWindow(context, form);
}

LONG XoOsApi::ImmGetCompositionStringW(HIMC context, Dword index, void* buffer, Dword length) {
    return ::ImmGetCompositionStringW(context, index, buffer, length);
}

XoOsApi::Dword XoOsApi::GetModuleFileNameW(HMODULE module, wchar_t* fileName, Dword size) {
    return ::GetModuleFileNameW(module, fileName, size);
}

HINSTANCE XoOsApi::ShellExecuteW(HWND window, const wchar_t* operation, const wchar_t* file,
                                 const wchar_t* parameters, const wchar_t* directory, int show) {
    return ::ShellExecuteW(window, operation, file, parameters, directory, show);
}

HRESULT XoOsApi::SHGetFolderPathW(HWND window, int folder, void* token, Dword flags,
                                  wchar_t* path) {
    return ::SHGetFolderPathW(window, folder, token, flags, path);
}

HKL XoOsApi::GetKeyboardLayout(Dword thread) {
    return ::GetKeyboardLayout(thread);
}

UINT_PTR XoOsApi::SetTimer(HWND window, UintPtr id, unsigned int elapse, TimerProc proc) {
    return ::SetTimer(window, id, elapse, proc);
}

int XoOsApi::KillTimer(HWND window, UintPtr id) {
    return ::KillTimer(window, id);
}

HANDLE XoOsApi::LoadImageW(HINSTANCE instance, const wchar_t* name, unsigned int type, int cx,
                           int cy, unsigned int load) {
    return ::LoadImageW(instance, name, type, cx, cy, load);
}

int XoOsApi::DestroyIcon(HICON icon) {
    return ::DestroyIcon(icon);
}
