#pragma once

#include <string>

namespace orv {

// Where the definition file `fileName` is, tried in this order, the first
// that opens for reading winning:
//   1. `directory`, when given, not empty and shorter than 520 characters;
//      else the current directory;
//   2. the folder of the loaded module "orvinstdlgs.dll";
//   3. the "Bin Path" of the installed product's install key;
//   4. the "bin" folder beside a running "setup.exe".
// Empty when none has the file.
std::wstring FindDefinitionFile(const wchar_t* fileName, const wchar_t* directory);

// The installed product's install key below HKEY_LOCAL_MACHINE (its "Bin
// Path" and version values): the key of the product CMS_GetProd names.
const wchar_t* ProductInstallKey();

}  // namespace orv
