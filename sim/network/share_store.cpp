#include "share_store.h"

#include <cwchar>
#include <string_view>

#include "host_names.h"
#include "orvcluster/unique_handle.h"

namespace simnet {

namespace {

constexpr wchar_t kSharesKey[] = L"SYSTEM\\CurrentControlSet\\Services\\LanmanServer\\Shares";

DWORD Number(std::wstring_view text, DWORD fallback) {
    if (text.empty() || text.size() > 10) return fallback;
    unsigned long long value = 0;
    for (wchar_t c : text) {
        if (c < L'0' || c > L'9') return fallback;
        value = value * 10 + static_cast<unsigned>(c - L'0');
    }
    return value > 0xFFFFFFFFull ? fallback : static_cast<DWORD>(value);
}

// One share from its value: "Field=value" strings, read no further than
// `chars` characters even when the last one lacks its terminator.
Share Parse(const wchar_t* name, const wchar_t* data, size_t chars) {
    Share share;
    share.name = name;
    for (size_t at = 0; at < chars;) {
        std::wstring_view line(data + at, wcsnlen(data + at, chars - at));
        at += line.size() + 1;
        const size_t equals = line.find(L'=');
        if (equals == std::wstring_view::npos) continue;
        const std::wstring_view field = line.substr(0, equals);
        const std::wstring_view value = line.substr(equals + 1);
        if (SameName(field, L"Path")) share.path = value;
        else if (SameName(field, L"Remark")) share.remark = value;
        else if (SameName(field, L"Type")) share.type = Number(value, share.type);
        else if (SameName(field, L"Permissions")) share.permissions = Number(value, share.permissions);
        else if (SameName(field, L"MaxUses")) share.maxUses = Number(value, share.maxUses);
    }
    return share;
}

}  // namespace

std::vector<Share> LoadShares() {
    std::vector<Share> shares;
    orv::UniqueRegistryKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSharesKey, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS) return shares;
    DWORD nameChars = 0, dataBytes = 0;
    if (RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &nameChars,
                         &dataBytes, nullptr, nullptr) != ERROR_SUCCESS)
        return shares;
    std::wstring name(nameChars + 1, L'\0');
    std::wstring data(dataBytes / sizeof(wchar_t) + 1, L'\0');
    for (DWORD index = 0;; ++index) {
        DWORD nameLength = static_cast<DWORD>(name.size());
        DWORD type = 0;
        DWORD bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        const LONG result = RegEnumValueW(key.Get(), index, name.data(), &nameLength, nullptr, &type,
                                          reinterpret_cast<BYTE*>(data.data()), &bytes);
        // A value that grew since the sizes were read is skipped, not misread.
        if (result == ERROR_MORE_DATA) continue;
        if (result != ERROR_SUCCESS) break;
        if (type == REG_MULTI_SZ && nameLength > 0)
            shares.push_back(Parse(name.c_str(), data.data(), bytes / sizeof(wchar_t)));
    }
    return shares;
}

LONG SaveShare(const Share& share) {
    orv::UniqueRegistryKey key;
    LONG result = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSharesKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                                  key.Receive(), nullptr);
    if (result != ERROR_SUCCESS) return result;
    std::wstring data;
    for (const std::wstring& line :
         {L"MaxUses=" + std::to_wstring(share.maxUses), L"Path=" + share.path,
          L"Permissions=" + std::to_wstring(share.permissions), L"Remark=" + share.remark,
          L"ShareName=" + share.name, L"Type=" + std::to_wstring(share.type)})
        data.append(line).push_back(L'\0');
    data.push_back(L'\0');
    return RegSetValueExW(key.Get(), share.name.c_str(), 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size() * sizeof(wchar_t)));
}

LONG RemoveShare(const std::wstring& name) {
    for (const Share& share : LoadShares()) {
        if (!SameName(share.name, name)) continue;
        orv::UniqueRegistryKey key;
        const LONG result = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSharesKey, 0, KEY_SET_VALUE, key.Receive());
        return result == ERROR_SUCCESS ? RegDeleteValueW(key.Get(), share.name.c_str()) : result;
    }
    return ERROR_FILE_NOT_FOUND;
}

}  // namespace simnet
