#pragma once

#include <cstring>
#include <string>

namespace orv {

// The product's C-style copy of a name into a caller's wide buffer of *size
// characters (buffer and size valid, *size not 0):
// - too small: false, buffer and *size untouched (the needed size is not told);
// - copied and not empty: true, *size = length without the terminator;
// - empty name: false, *size = 0, and the first *size BYTES zeroed, so only
//   the first half of the buffer is cleared (kept as the product expects).
inline bool CopyNameToBuffer(const std::wstring& name, wchar_t* buffer, unsigned long* size) {
    if (name.size() + 1 > *size) return false;
    if (!name.empty()) {
        std::memcpy(buffer, name.c_str(), (name.size() + 1) * sizeof(wchar_t));
        *size = static_cast<unsigned long>(name.size());
        return true;
    }
    std::memset(buffer, 0, *size);
    *size = 0;
    return false;
}

}  // namespace orv
