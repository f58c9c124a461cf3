#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "orvcluster/cluster_api.h"

// The two self-describing formats of control answers. A value list is a run
// of entries closed by an end mark; a property list is a property count
// followed by, for each property, a name entry, its value entries and an end
// mark. An entry is a 32-bit syntax word, a 32-bit byte length and the data
// padded with zeros to a multiple of 4; the end mark is a single zero word.

namespace simcluster {

// The syntax of an expandable string with its environment variables
// expanded, which the platform adds after every expandable string it
// returns (CLUSPROP_SYNTAX_LIST_VALUE_EXPANDED_SZ).
constexpr DWORD kExpandedSzSyntax = 0x00010008;

struct PropertyValue {
    DWORD syntax = CLUSPROP_SYNTAX_LIST_VALUE_SZ;
    std::vector<BYTE> data;  // as it appears in a list (strings with their terminator)

    WORD Format() const { return static_cast<WORD>(syntax & 0xFFFF); }
    bool IsString() const { return Format() == CLUSPROP_FORMAT_SZ || Format() == CLUSPROP_FORMAT_EXPAND_SZ; }
    std::wstring Text() const;  // the string of a string value
    DWORD Dword() const;        // the number of a 32-bit value
};

PropertyValue StringValue(const std::wstring& text, DWORD syntax = CLUSPROP_SYNTAX_LIST_VALUE_SZ);
PropertyValue DwordValue(DWORD value, DWORD syntax = CLUSPROP_SYNTAX_LIST_VALUE_DWORD);
PropertyValue BinaryValue(const void* data, size_t size, DWORD syntax = CLUSPROP_SYNTAX_LIST_VALUE_BINARY);

// Named values in the order they were first set; names compare without
// regard to case, as the cluster database's do.
class PropertyMap {
public:
    using Entry = std::pair<std::wstring, PropertyValue>;

    void Set(const std::wstring& name, PropertyValue value);
    bool Remove(const std::wstring& name);
    const PropertyValue* Find(const std::wstring& name) const;
    const std::vector<Entry>& Entries() const { return entries_; }

private:
    std::vector<Entry> entries_;
};

class ValueListWriter {
public:
    void Add(DWORD syntax, const void* data, size_t size);
    void Add(const PropertyValue& value) { Add(value.syntax, value.data.data(), value.data.size()); }
    void AddDword(DWORD syntax, DWORD value) { Add(syntax, &value, sizeof value); }
    void EndMark();
    std::vector<BYTE>& Bytes() { return bytes_; }

private:
    std::vector<BYTE> bytes_;
};

// A property list of the given properties, in order. An expandable string
// comes back as two values, as the platform returns it: the string as
// stored, then the same string with its environment variables expanded.
std::vector<BYTE> BuildPropertyList(const std::vector<PropertyMap::Entry>& properties);

// Reads the properties of a caller's list (the first value of each), never
// past `size`. ERROR_INVALID_DATA when the list is malformed or truncated.
DWORD ParsePropertyList(const void* list, DWORD size, std::vector<PropertyMap::Entry>& properties);

// Finds the first property named `name` (without regard to case) and points
// at its first value. ERROR_FILE_NOT_FOUND when no property has the name,
// ERROR_INVALID_DATA when the list is malformed before the name is found.
struct FoundValue {
    DWORD syntax = 0;
    const BYTE* data = nullptr;
    DWORD length = 0;
};
DWORD FindProperty(const void* list, DWORD size, const wchar_t* name, FoundValue& found);

}  // namespace simcluster
