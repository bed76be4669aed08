/// \file
/// The export macros of the library.
#pragma once

/// Marks a declaration as part of the library's exported interface: exported while the
/// library is built, imported by clients of the DLL, nothing for the static library,
/// default visibility on Linux.
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

/// Marks the functions that the DLL exports by ordinal only: source/XoOsBase.def gives
/// them their numbers, so the library itself must not export them by name. Clients import
/// them through the import library, which binds the declared name to the ordinal.
#if defined(_WIN32)
#if defined(XOOSBASE_BUILD) || defined(XOOSBASE_STATIC)
#define XOOSBASE_ORDINAL_API
#else
#define XOOSBASE_ORDINAL_API __declspec(dllimport)
#endif
#else
#define XOOSBASE_ORDINAL_API __attribute__((visibility("default")))
#endif

/// Marks the short common path of a few exported template members (appending one
/// element): clients compile it into their own code instead of calling the library for
/// each element, while the library keeps the exported out-of-line copy that clients built
/// without inlining call. mingw exports no inline member, hence the two spellings.
#if defined(XOOSBASE_BUILD)
#define XOOSBASE_CLIENT_INLINE
#else
#define XOOSBASE_CLIENT_INLINE inline
#endif

/// A condition that almost always holds, for the short paths compiled into clients.
#if defined(__GNUC__)
#define XOOSBASE_LIKELY(condition) __builtin_expect(!!(condition), 1)
#else
#define XOOSBASE_LIKELY(condition) (condition)
#endif
