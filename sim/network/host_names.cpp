#include "host_names.h"

namespace simnet {

namespace {

std::wstring ComputerName(COMPUTER_NAME_FORMAT format) {
    DWORD length = 0;
    GetComputerNameExW(format, nullptr, &length);
    std::wstring name(length, L'\0');
    if (length == 0 || !GetComputerNameExW(format, name.data(), &length)) return std::wstring();
    name.resize(length);
    return name;
}

}  // namespace

std::wstring_view WithoutLeadingBackslashes(std::wstring_view name) {
    const size_t start = name.find_first_not_of(L'\\');
    return start == std::wstring_view::npos ? std::wstring_view() : name.substr(start);
}

bool SameName(std::wstring_view left, std::wstring_view right) {
    if (left.size() != right.size()) return false;
    if (left.empty()) return true;
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring ThisComputer() { return ComputerName(ComputerNameNetBIOS); }

bool IsThisComputer(std::wstring_view name) {
    if (name.empty()) return false;
    for (COMPUTER_NAME_FORMAT format : {ComputerNameNetBIOS, ComputerNameDnsHostname, ComputerNameDnsFullyQualified})
        if (SameName(name, ComputerName(format))) return true;
    return false;
}

}  // namespace simnet
