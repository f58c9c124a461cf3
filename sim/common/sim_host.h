#pragma once

#include <windows.h>

#include <string>

// What the simulated libraries need of the machine they run on: their own
// folder, the environment, UTF-8 text and whole files.
namespace simhost {

// The folder of the library this code is linked into, with a trailing
// backslash.
std::wstring ModuleFolder();

// An environment variable's value; empty when it is not set or too long.
std::wstring Environment(const wchar_t* name);

std::wstring Widen(const std::string& utf8);
std::string Narrow(const std::wstring& wide);

// The file's whole contents (at most 64 MB); false when it cannot be read.
bool ReadWholeFile(const std::wstring& path, std::string& contents);

// Creates or replaces the file; a read-only or hidden file is replaced too.
// On failure GetLastError() tells why.
bool WriteWholeFile(const std::wstring& path, const std::string& contents, DWORD attributes = FILE_ATTRIBUTE_NORMAL);

}  // namespace simhost
