#include "property_list.h"

#include <cstring>

#include "text.h"

namespace simcluster {

namespace {

// Characters of a string value or name entry, up to the first terminator;
// false when the data holds no terminator.
bool TerminatedText(const BYTE* data, size_t length, std::wstring& text) {
    size_t characters = length / sizeof(wchar_t);
    text.assign(characters, L'\0');
    if (characters) std::memcpy(&text[0], data, characters * sizeof(wchar_t));
    size_t end = text.find(L'\0');
    if (end == std::wstring::npos) return false;
    text.resize(end);
    return true;
}

// Reads a caller's buffer front to back and refuses to step past its end.
class ListReader {
public:
    ListReader(const void* data, DWORD size) : next_(static_cast<const BYTE*>(data)), left_(data ? size : 0) {}

    bool Dword(DWORD& value) {
        if (left_ < sizeof value) return false;
        std::memcpy(&value, next_, sizeof value);
        Skip(sizeof value);
        return true;
    }

    // One entry: the end mark (a zero syntax word and nothing else), or a
    // syntax word, a length and the data padded to a multiple of 4.
    bool Entry(FoundValue& entry) {
        entry = FoundValue();
        if (!Dword(entry.syntax)) return false;
        if (entry.syntax == CLUSPROP_SYNTAX_ENDMARK) return true;
        if (!Dword(entry.length)) return false;
        unsigned long long padded = (entry.length + 3ull) & ~3ull;
        if (padded > left_) return false;
        entry.data = next_;
        Skip(static_cast<size_t>(padded));
        return true;
    }

private:
    void Skip(size_t bytes) {
        next_ += bytes;
        left_ -= bytes;
    }

    const BYTE* next_;
    size_t left_;
};

// Walks the properties of a list up to its count; `visit(name, value)`
// answers true to stop. Each property is checked up to its end mark before
// it is visited. ERROR_SUCCESS when a visit stopped the walk,
// ERROR_NO_MORE_ITEMS when every property was visited.
template <class Visit>
DWORD WalkProperties(const void* list, DWORD size, Visit visit) {
    ListReader reader(list, size);
    DWORD count = 0;
    if (!reader.Dword(count)) return ERROR_INVALID_DATA;
    for (DWORD i = 0; i < count; ++i) {
        FoundValue name, value;
        std::wstring text;
        if (!reader.Entry(name) || name.syntax != CLUSPROP_SYNTAX_NAME || !TerminatedText(name.data, name.length, text))
            return ERROR_INVALID_DATA;
        if (!reader.Entry(value) || value.syntax == CLUSPROP_SYNTAX_ENDMARK) return ERROR_INVALID_DATA;
        FoundValue further = value;
        while (further.syntax != CLUSPROP_SYNTAX_ENDMARK)
            if (!reader.Entry(further)) return ERROR_INVALID_DATA;
        if (visit(text, value)) return ERROR_SUCCESS;
    }
    return ERROR_NO_MORE_ITEMS;
}

void AppendPadded(std::vector<BYTE>& bytes, const void* data, size_t size) {
    const BYTE* first = static_cast<const BYTE*>(data);
    bytes.insert(bytes.end(), first, first + size);
    bytes.resize(bytes.size() + ((4 - size % 4) % 4), 0);
}

void AppendDword(std::vector<BYTE>& bytes, DWORD value) { AppendPadded(bytes, &value, sizeof value); }

// The string with its environment variables expanded, as this machine has them.
std::wstring Expanded(const std::wstring& text) {
    DWORD size = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    std::wstring expanded(size, L'\0');
    if (size == 0 || ExpandEnvironmentStringsW(text.c_str(), &expanded[0], size) == 0) return text;
    expanded.resize(size - 1);
    return expanded;
}

}  // namespace

std::wstring PropertyValue::Text() const {
    std::wstring text;
    if (!TerminatedText(data.data(), data.size(), text)) {
        text.assign(data.size() / sizeof(wchar_t), L'\0');
        if (!text.empty()) std::memcpy(&text[0], data.data(), text.size() * sizeof(wchar_t));
    }
    return text;
}

DWORD PropertyValue::Dword() const {
    DWORD value = 0;
    std::memcpy(&value, data.data(), data.size() < sizeof value ? data.size() : sizeof value);
    return value;
}

PropertyValue StringValue(const std::wstring& text, DWORD syntax) {
    return BinaryValue(text.c_str(), (text.size() + 1) * sizeof(wchar_t), syntax);
}

PropertyValue DwordValue(DWORD value, DWORD syntax) { return BinaryValue(&value, sizeof value, syntax); }

PropertyValue BinaryValue(const void* data, size_t size, DWORD syntax) {
    PropertyValue value;
    value.syntax = syntax;
    const BYTE* first = static_cast<const BYTE*>(data);
    value.data.assign(first, first + size);
    return value;
}

void PropertyMap::Set(const std::wstring& name, PropertyValue value) {
    for (Entry& entry : entries_) {
        if (SameName(entry.first, name)) {
            entry.second = std::move(value);
            return;
        }
    }
    entries_.emplace_back(name, std::move(value));
}

bool PropertyMap::Remove(const std::wstring& name) {
    for (auto it = entries_.begin(); it != entries_.end(); ++it) {
        if (SameName(it->first, name)) {
            entries_.erase(it);
            return true;
        }
    }
    return false;
}

const PropertyValue* PropertyMap::Find(const std::wstring& name) const {
    for (const Entry& entry : entries_)
        if (SameName(entry.first, name)) return &entry.second;
    return nullptr;
}

void ValueListWriter::Add(DWORD syntax, const void* data, size_t size) {
    AppendDword(bytes_, syntax);
    AppendDword(bytes_, static_cast<DWORD>(size));
    AppendPadded(bytes_, data, size);
}

void ValueListWriter::EndMark() { AppendDword(bytes_, CLUSPROP_SYNTAX_ENDMARK); }

std::vector<BYTE> BuildPropertyList(const std::vector<PropertyMap::Entry>& properties) {
    ValueListWriter writer;
    writer.Bytes().resize(sizeof(DWORD), 0);
    DWORD count = static_cast<DWORD>(properties.size());
    std::memcpy(writer.Bytes().data(), &count, sizeof count);
    for (const PropertyMap::Entry& property : properties) {
        writer.Add(StringValue(property.first, CLUSPROP_SYNTAX_NAME));
        writer.Add(property.second);
        if (property.second.syntax == CLUSPROP_SYNTAX_LIST_VALUE_EXPAND_SZ)
            writer.Add(StringValue(Expanded(property.second.Text()), kExpandedSzSyntax));
        writer.EndMark();
    }
    return std::move(writer.Bytes());
}

DWORD ParsePropertyList(const void* list, DWORD size, std::vector<PropertyMap::Entry>& properties) {
    properties.clear();
    DWORD result = WalkProperties(list, size, [&](const std::wstring& name, const FoundValue& value) {
        properties.emplace_back(name, BinaryValue(value.data, value.length, value.syntax));
        return false;
    });
    return result == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : result;
}

DWORD FindProperty(const void* list, DWORD size, const wchar_t* name, FoundValue& found) {
    if (!name) return ERROR_INVALID_PARAMETER;
    std::wstring wanted(name);
    DWORD result = WalkProperties(list, size, [&](const std::wstring& candidate, const FoundValue& value) {
        if (!SameName(candidate, wanted)) return false;
        found = value;
        return true;
    });
    return result == ERROR_NO_MORE_ITEMS ? ERROR_FILE_NOT_FOUND : result;
}

}  // namespace simcluster
