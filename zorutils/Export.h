// The export macro of zorutils.dll, shared by every public header.
//
// ZORUTILS_API marks what the DLL exports: dllexport while the library
// itself is built (its build defines ZORUTILS_BUILDING; hosts must not),
// dllimport for hosts built with GCC (mingw-w64) or with Visual C++. There
// is no static build: hosts link the import library and ship the DLL.
#pragma once

#include <windows.h>

// Reads the member offsets of the exported classes at compile time
// (zorutils/internal/Layouts.cpp); the exported classes befriend it. Hosts
// have no use for it.
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
