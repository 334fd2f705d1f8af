// The export macro of zorutils.dll, shared by every public header.
#pragma once

#include <windows.h>

// Reads the member offsets of the exported classes at compile time (zorutils/internal/Layouts.cpp).
namespace zor {
struct Layouts;
}

#if defined(ZORUTILS_BUILDING)
#define ZORUTILS_API __attribute__((dllexport))
#elif defined(__GNUC__)
#define ZORUTILS_API __attribute__((dllimport))
#else  // Visual C++ hosts: the SDK's own import attribute
#define ZORUTILS_API DECLSPEC_IMPORT
#endif
