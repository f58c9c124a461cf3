#pragma once

#include <windows.h>

#include <string>
#include <vector>

// The shares of this computer, kept where the server keeps them: one
// REG_MULTI_SZ value per share below the server's "Shares" key, so that
// every program on the machine sees the same ones.

namespace simnet {

struct Share {
    std::wstring name;
    DWORD type = 0;
    std::wstring remark;
    DWORD permissions = 0;
    DWORD maxUses = 0xFFFFFFFF;
    std::wstring path;
};

// Every share, in the registry's order. Values that are no share (another
// type) are skipped; a field that is missing or unreadable keeps its default.
std::vector<Share> LoadShares();

// Writes a new share; answers the registry's error code.
LONG SaveShare(const Share& share);

// Removes the share named `name` (any case): ERROR_SUCCESS,
// ERROR_FILE_NOT_FOUND when there is none, or the registry's error code.
LONG RemoveShare(const std::wstring& name);

}  // namespace simnet
