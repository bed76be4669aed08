// The export macros of the library.
#pragma once

#if defined(_WIN32)
#if defined(XOOSBASE_BUILD)
#define XOOSBASE_API __declspec(dllexport)
#elif defined(XOOSBASE_STATIC)
#define XOOSBASE_API
#else
#define XOOSBASE_API __declspec(dllimport)
#endif
#else
#define XOOSBASE_API __attribute__((visibility("default")))
#endif

// Functions that the DLL exports by ordinal only: source/XoOsBase.def gives them their
// numbers, so the library itself must not export them by name. Clients import them
// through the import library, which binds the declared name to the ordinal.
#if defined(_WIN32)
#if defined(XOOSBASE_BUILD) || defined(XOOSBASE_STATIC)
#define XOOSBASE_ORDINAL_API
#else
#define XOOSBASE_ORDINAL_API __declspec(dllimport)
#endif
#else
#define XOOSBASE_ORDINAL_API __attribute__((visibility("default")))
#endif
