#pragma once

#include <string>

#include "orvcluster/export.h"

// The path of the product definition file `fileName` ("clusconfig.xml" or
// "nrxconfig.xml") exactly as Cluster::CWIZ_InitData finds it: `directory`
// (or the current folder), the wizard's folder, the installed product's
// "Bin Path", the "bin" folder of a running setup program. Empty when none
// has a readable file of that name.
ORVCLUSTER_API std::wstring OrvFindDefinitionFile(const wchar_t* fileName, const wchar_t* directory);
