#pragma once

#include <windows.h>

#include <string>

#include "sim_host.h"

namespace simcluster {

// Cluster object names, node names and registry paths compare without regard
// to case, ordinally (no locale).
bool SameName(const wchar_t* a, size_t aLength, const std::wstring& b);
inline bool SameName(const std::wstring& a, const std::wstring& b) { return SameName(a.data(), a.size(), b); }
bool StartsWithName(const std::wstring& text, const std::wstring& prefix);

using simhost::Narrow;
using simhost::ReadWholeFile;
using simhost::Widen;
using simhost::WriteWholeFile;

// A wide string handed in by a caller, which may be null.
inline std::wstring FromCaller(const wchar_t* text) { return text ? std::wstring(text) : std::wstring(); }

// Copies `text` into a caller's buffer of `*length` characters, the cluster
// API way: the length given counts the terminator, the length returned does
// not; a buffer that is missing or too small gets ERROR_MORE_DATA and the
// needed length (again without the terminator).
DWORD CopyName(const std::wstring& text, wchar_t* buffer, DWORD* length);

}  // namespace simcluster
