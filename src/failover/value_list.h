#pragma once

#include <windows.h>

#include <cstring>
#include <string>

namespace orv {

// Entries of the failover cluster's value and property lists: a 32-bit syntax
// word, a 32-bit byte length and the data padded to 4 bytes. An end mark is a
// lone zero syntax word.
constexpr unsigned long long kValueHeaderBytes = 8;

inline unsigned long long PaddedLength(unsigned long long bytes) { return (bytes + 3) & ~3ull; }

struct ValueEntry {
    DWORD syntax = 0;
    DWORD length = 0;
    const unsigned char* data = nullptr;  // `length` bytes inside the list

    const wchar_t* Text() const { return reinterpret_cast<const wchar_t*>(data); }

    // The data holds a wide string whose terminator lies within its length.
    bool IsTerminatedText() const {
        for (DWORD offset = 0; offset + sizeof(wchar_t) <= length; offset += sizeof(wchar_t)) {
            wchar_t character;
            std::memcpy(&character, data + offset, sizeof(character));
            if (character == L'\0') return true;
        }
        return false;
    }
};

// Reads entries one after the other and never past the bytes it was given:
// an entry whose length runs past the end is refused, not read.
class ValueListReader {
public:
    ValueListReader(const void* data, unsigned long long size)
        : position_(static_cast<const unsigned char*>(data)), remaining_(data ? size : 0) {}

    bool Next(ValueEntry& entry) {
        if (remaining_ < sizeof(DWORD)) return false;
        std::memcpy(&entry.syntax, position_, sizeof(DWORD));
        if (entry.syntax == 0) {
            entry.length = 0;
            entry.data = nullptr;
            Skip(sizeof(DWORD));
            return true;
        }
        if (remaining_ < kValueHeaderBytes) return false;
        std::memcpy(&entry.length, position_ + sizeof(DWORD), sizeof(DWORD));
        const unsigned long long size = kValueHeaderBytes + PaddedLength(entry.length);
        // The data itself must fit; the padding of the last entry may be missing.
        if (kValueHeaderBytes + entry.length > remaining_) return false;
        entry.data = position_ + kValueHeaderBytes;
        Skip(size < remaining_ ? size : remaining_);
        return true;
    }

private:
    void Skip(unsigned long long bytes) {
        position_ += bytes;
        remaining_ -= bytes;
    }

    const unsigned char* position_;
    unsigned long long remaining_;
};

}  // namespace orv

namespace orv {

// Calls `visit(entry)` for each value entry up to the end mark; a list that
// ends early (or lies about a length) simply ends the walk there.
template <typename Visit>
void ForEachValue(const void* data, unsigned long long size, Visit visit) {
    ValueListReader reader(data, size);
    ValueEntry entry;
    while (reader.Next(entry) && entry.syntax != 0) visit(entry);
}

// Copies a record of type T out of an entry when the entry is large enough.
template <typename T>
bool ReadRecord(const ValueEntry& entry, T& record) {
    if (entry.length < sizeof(T)) return false;
    std::memcpy(&record, entry.data, sizeof(T));
    return true;
}

// The text at `text` up to its terminator, but never more than `limit`
// characters: a fixed field or a platform answer need not be terminated.
inline std::wstring BoundedText(const wchar_t* text, size_t limit) {
    size_t length = 0;
    while (length < limit && text[length]) ++length;
    return std::wstring(text, length);
}

// The text of a fixed character field.
template <size_t N>
std::wstring FieldText(const wchar_t (&field)[N]) {
    return BoundedText(field, N);
}

}  // namespace orv
