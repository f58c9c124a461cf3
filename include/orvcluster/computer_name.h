#pragma once

#include <string>

#include "orvcluster/export.h"

// The name under which the product presents this machine: its cluster node
// name where the machine is an open cluster node, else the computer name.
// Computed once per process and never changed afterwards.
class ORVCLUSTER_API OrvComputerName {
public:
    static OrvComputerName& GetInstanceRef();
    const std::wstring& GetOrvComputerName() const;

    OrvComputerName(const OrvComputerName&) = delete;
    OrvComputerName& operator=(const OrvComputerName&) = delete;

private:
    OrvComputerName();
    std::wstring name_;
};

ORVCLUSTER_API const std::wstring& OrvGetComputerName();

// Copies the name into a wide buffer of *size characters. A buffer too small
// answers 0 and leaves *size as it was; the needed size is not reported.
ORVCLUSTER_API int OrvGetComputerName(wchar_t* buffer, unsigned long* size);
extern "C" ORVCLUSTER_API int OrvGetComputerNameW(wchar_t* buffer, unsigned long* size);

// Copies the name, each character cut to its low byte, into a narrow buffer of
// *size bytes. A buffer too small answers 0 with *size set to 0.
extern "C" ORVCLUSTER_API int OrvGetComputerNameA(char* buffer, unsigned long* size);

// Accepted for compatibility: the name never switches at run time.
ORVCLUSTER_API void SetVirtualNameForNodeName(bool useVirtualName);
