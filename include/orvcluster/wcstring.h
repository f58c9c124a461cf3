#pragma once

#include <string>

// The product's wide string class, used by the node and drive lists. It is a
// std::wstring with the product's name; conversions both ways are implicit.
class wcstring : public std::wstring {
public:
    using std::wstring::wstring;
    wcstring() = default;
    wcstring(const std::wstring& text) : std::wstring(text) {}
    wcstring(std::wstring&& text) : std::wstring(std::move(text)) {}
};
