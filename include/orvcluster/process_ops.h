#pragma once

#include "orvcluster/export.h"
#include "orvcluster/wcstring.h"

// Questions about the processes of this machine, asked afresh on every call:
// is a program of a given name running, and where is its executable. A
// process's name is the base name of its main module ("setup.exe"), compared
// without regard to case over the whole name. Processes that cannot be opened
// (other users', system processes) never match. At most the first 1,024
// processes are examined.
class ORVCLUSTER_API CProcessOps {
public:
    CProcessOps();

    // 1 when some process's main module has this base name, else 0.
    int IsProcessRunning(const wchar_t* name);

    // 1 when the main module of that process has this base name, else 0.
    int GetProcessNameEx(unsigned long processId, wcstring name);

    // Finds the first process named `name` and writes into `path` (260
    // characters) the full path of its modules of that base name; 1 when one
    // was written, else 0 with `path` untouched.
    int GetProcPath(const wchar_t* name, wchar_t* path);
};
