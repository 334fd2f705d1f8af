// The export macro of zorutils.dll, shared by every public header.
#pragma once

#ifdef ZORUTILS_BUILDING
#define ZORUTILS_API __declspec(dllexport)
#else
#define ZORUTILS_API __declspec(dllimport)
#endif
