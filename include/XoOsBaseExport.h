// The one export macro of the library.
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
