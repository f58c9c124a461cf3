// The property list codec. Strings are found by this class's own walk of the
// list, numbers by the platform's lookup, so that a number follows the
// platform's matching rules.

#include "orvcluster/cluster_property_list.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "failover/value_list.h"
#include "orvcluster/cluster_api.h"
#include "orvcluster/resource_glue.h"
#include "support/text.h"

namespace {

constexpr unsigned long long kGrowthSlack = 260;
constexpr unsigned long long kCountBytes = 4;

DWORD StringBytes(const wchar_t* text) {
    return static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
}

}  // namespace

ClusterPropertyList::ClusterPropertyList() = default;

ClusterPropertyList::ClusterPropertyList(const void* data, size_t size) { Assign(data, size); }

ClusterPropertyList::ClusterPropertyList(const ClusterPropertyList& other) {
    Assign(other.buffer_, other.used_);
}

ClusterPropertyList& ClusterPropertyList::operator=(const ClusterPropertyList& other) {
    if (this != &other) Assign(other.buffer_, other.used_);
    return *this;
}

ClusterPropertyList::~ClusterPropertyList() { std::free(buffer_); }

void ClusterPropertyList::Assign(const void* data, size_t size) {
    std::free(buffer_);
    buffer_ = nullptr;
    capacity_ = used_ = 0;
    if (!data || size == 0) return;
    buffer_ = static_cast<unsigned char*>(std::malloc(size));
    if (!buffer_) throw std::bad_alloc();
    std::memcpy(buffer_, data, size);
    capacity_ = used_ = size;
}

unsigned char* ClusterPropertyList::Reserve(unsigned long long bytes) {
    const bool empty = capacity_ == 0;
    // The entry takes its padded length: room is checked for that, so the
    // used size never passes the end of the block.
    const unsigned long long padded = orv::PaddedLength(bytes);
    if ((empty ? kCountBytes : used_) + padded > capacity_) {
        // The first block also holds the count word.
        const unsigned long long capacity =
            empty ? bytes + kGrowthSlack + kCountBytes : capacity_ + bytes + kGrowthSlack;
        auto* grown = static_cast<unsigned char*>(std::calloc(1, capacity));
        if (!grown) throw std::bad_alloc();
        if (used_) std::memcpy(grown, buffer_, used_);
        std::free(buffer_);
        buffer_ = grown;
        capacity_ = capacity;
    }
    if (empty) used_ = kCountBytes;  // the count starts at zero
    unsigned char* entry = buffer_ + used_;
    used_ += padded;
    return entry;
}

void ClusterPropertyList::AppendEntry(DWORD syntax, const void* data, DWORD length) {
    unsigned char* entry = Reserve(orv::kValueHeaderBytes + static_cast<unsigned long long>(length));
    std::memcpy(entry, &syntax, sizeof(syntax));
    std::memcpy(entry + sizeof(syntax), &length, sizeof(length));
    std::memcpy(entry + orv::kValueHeaderBytes, data, length);
}

void ClusterPropertyList::Append(const wchar_t* name, const wchar_t* value) {
    AppendEntry(CLUSPROP_SYNTAX_NAME, name, StringBytes(name));
    AppendEntry(CLUSPROP_SYNTAX_LIST_VALUE_SZ, value, StringBytes(value));
    std::memset(Reserve(sizeof(DWORD)), 0, sizeof(DWORD));  // end mark
    *reinterpret_cast<DWORD*>(buffer_) += 1;
}

void ClusterPropertyList::Append(const wchar_t* name, DWORD value) {
    AppendEntry(CLUSPROP_SYNTAX_NAME, name, StringBytes(name));
    AppendEntry(CLUSPROP_SYNTAX_LIST_VALUE_DWORD, &value, sizeof(value));
    std::memset(Reserve(sizeof(DWORD)), 0, sizeof(DWORD));
    *reinterpret_cast<DWORD*>(buffer_) += 1;
}

bool ClusterPropertyList::GetValue(const wchar_t* name, const wchar_t** value) const {
    if (!value) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    *value = nullptr;
    DWORD count = 0;
    if (used_ >= kCountBytes) std::memcpy(&count, buffer_, sizeof(count));
    if (count < 1 || !name) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return false;
    }

    orv::ValueListReader reader(buffer_ + kCountBytes, used_ - kCountBytes);
    for (DWORD property = 0; property < count; ++property) {
        orv::ValueEntry propertyName;
        orv::ValueEntry firstValue;
        if (!reader.Next(propertyName) || propertyName.syntax != CLUSPROP_SYNTAX_NAME ||
            !propertyName.IsTerminatedText() || !reader.Next(firstValue)) {
            SetLastError(ERROR_INVALID_DATA);
            return false;
        }
        // Further values up to the end mark belong to the same property.
        orv::ValueEntry entry = firstValue;
        while (entry.syntax != CLUSPROP_SYNTAX_ENDMARK) {
            if (!reader.Next(entry)) {
                SetLastError(ERROR_INVALID_DATA);
                return false;
            }
        }
        if (!orv::EqualsIgnoreCase(propertyName.Text(), name)) continue;
        // The first property of that name decides, whatever its type.
        if (firstValue.syntax != CLUSPROP_SYNTAX_LIST_VALUE_SZ) {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return false;
        }
        if (!firstValue.IsTerminatedText()) {
            SetLastError(ERROR_INVALID_DATA);
            return false;
        }
        *value = firstValue.Text();
        return true;
    }
    SetLastError(ERROR_FILE_NOT_FOUND);
    return false;
}

bool ClusterPropertyList::GetValue(const wchar_t* name, std::wstring& value) const {
    const wchar_t* found = nullptr;
    if (!GetValue(name, &found)) {
        value.clear();
        return false;
    }
    value = found;
    return true;
}

bool ClusterPropertyList::GetValue(const wchar_t* name, DWORD& value) const {
    DWORD found = 0;
    DWORD result = ResourceGlue::GetInstance()->ResUtilFindDwordProperty(buffer_, Size(), name, &found);
    if (result != ERROR_SUCCESS) {
        SetLastError(result);
        return false;
    }
    value = found;
    return true;
}
