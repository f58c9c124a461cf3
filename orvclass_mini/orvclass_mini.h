#pragma once

#include <windows.h>

// orvclass_mini.dll: the in-house class library's functions that
// orvcluster.dll uses.

#if defined(ORVCLASS_MINI_BUILDING)
#define ORVCLASS_MINI_API __declspec(dllexport)
#else
#define ORVCLASS_MINI_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

// Which of the maker's backup products is installed on this machine.
enum {
    CMS_PRODUCT_NONE = 0,
    CMS_PRODUCT_KELVANE = 1,  // "Software\PENTRY\Kelvane\ORVDS\13.0\Install"
    CMS_PRODUCT_ORVANE = 2,   // "Software\Brassel\Orvane For Windows\Orvane\13.0\Install"
};
ORVCLASS_MINI_API int CMS_GetProd(void);

// The four parts of a file's version resource (fixed file info). Answers 0,
// or the system error that prevented reading it.
ORVCLASS_MINI_API DWORD NTFS_GetFileVersionInfo(const wchar_t* path, DWORD* major, DWORD* minor,
                                                DWORD* build, DWORD* revision);

// Compares two characters without regard to case: less than, equal to or
// greater than zero, as their upper-case forms compare.
ORVCLASS_MINI_API int comparei(wchar_t left, wchar_t right);

#ifdef __cplusplus
}
#endif
