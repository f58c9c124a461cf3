#include "nrx_records.h"

#include <cstring>

namespace simnrx {

// The memory of one record: the record itself (in a Holder), its texts and
// its lists of texts, each list ending with a null pointer.
struct Records::Block {
    virtual ~Block() = default;

    char* Text(const std::string& text) {
        texts.emplace_back(new char[text.size() + 1]);
        std::memcpy(texts.back().get(), text.c_str(), text.size() + 1);
        return texts.back().get();
    }

    char** List(const Values& values) {
        lists.emplace_back(new char*[values.size() + 1]);
        char** list = lists.back().get();
        for (size_t i = 0; i < values.size(); ++i) list[i] = Text(values[i]);
        list[values.size()] = nullptr;
        return list;
    }

    std::vector<std::unique_ptr<char[]>> texts;
    std::vector<std::unique_ptr<char*[]>> lists;
};

template <class T>
struct Records::Holder : Records::Block {
    T record{};
};

namespace {

struct KindName {
    const char* record;
    const char* freedBy;
};

const KindName kKindNames[] = {
    {"", ""},
    {"an NRXApiError", "NRXFreeError"},
    {"an NRXCntlInfo", "NRXFreeCntlInfo"},
    {"an NRXObject", "NRXFreeObject"},
    {"an NRXObjNames", "NRXFreeObjNames"},
    {"an NRXStateInfo", "NRXFreeStateInfo"},
    {"an NRXAttr read by NRXObjGetAttribute", "NRXFreeObjAttr"},
    {"an NRXAttr built by an NRXAttrFill function", "NRXFreeAttr"},
    {"a text", "NRXFreeStr"},
};

int Count(size_t size) { return static_cast<int>(size); }

}  // namespace

Records::Records() = default;
Records::~Records() = default;

template <class H>
auto Records::Keep(SIMNRX_RECORD_KIND kind, std::unique_ptr<H> holder) {
    auto* record = &holder->record;
    live_.emplace(record, Live{kind, std::move(holder)});
    return record;
}

NRXApiError* Records::Error(int code, const std::string& function, const std::string& message) {
    auto holder = std::make_unique<Holder<NRXApiError>>();
    holder->record.code = code;
    holder->record.function = holder->Text(function);
    holder->record.message = holder->Text(message);
    return Keep(SIMNRX_RECORD_ERROR, std::move(holder));
}

NRXCntlInfo* Records::CntlInfo(NRXCntlFlag flag, const Values& values) {
    auto holder = std::make_unique<Holder<NRXCntlInfo>>();
    holder->record.flag = flag;
    holder->record.count = Count(values.size());
    holder->record.values = holder->List(values);
    return Keep(SIMNRX_RECORD_CNTL_INFO, std::move(holder));
}

NRXObject* Records::Object(const std::string& name, NRXObjType type, const Values& attributes) {
    auto holder = std::make_unique<Holder<NRXObject>>();
    holder->record.name = holder->Text(name);
    holder->record.type = type;
    holder->record.attributeCount = Count(attributes.size());
    holder->record.attributeNames = holder->List(attributes);
    return Keep(SIMNRX_RECORD_OBJECT, std::move(holder));
}

NRXObjNames* Records::Names(const Values& names) {
    auto holder = std::make_unique<Holder<NRXObjNames>>();
    holder->record.count = Count(names.size());
    holder->record.names = holder->List(names);
    return Keep(SIMNRX_RECORD_OBJ_NAMES, std::move(holder));
}

NRXStateInfo* Records::StateInfo(NRXObjType type, const std::string& object,
                                 const std::vector<std::pair<std::string, int>>& entries) {
    struct StateHolder : Holder<NRXStateInfo> {
        std::unique_ptr<NRXSystemState[]> entries;
    };
    auto holder = std::make_unique<StateHolder>();
    holder->entries.reset(new NRXSystemState[entries.size() + 1]());
    for (size_t i = 0; i < entries.size(); ++i)
        holder->entries[i] = NRXSystemState{holder->Text(entries[i].first), entries[i].second};
    holder->record.type = type;
    holder->record.object = holder->Text(object);
    holder->record.count = Count(entries.size());
    holder->record.entries = holder->entries.get();
    return Keep(SIMNRX_RECORD_STATE_INFO, std::move(holder));
}

NRXAttr* Records::Attr(SIMNRX_RECORD_KIND kind, const std::string& name, NRXAttrType type, NRXAttrDimension dimension,
                       bool local, const std::vector<AttrEntry>& entries) {
    struct AttrHolder : Holder<NRXAttr> {
        std::unique_ptr<NRXAttrValue[]> entries;
    };
    auto holder = std::make_unique<AttrHolder>();
    holder->entries.reset(new NRXAttrValue[entries.size() + 1]());
    for (size_t i = 0; i < entries.size(); ++i) {
        NRXAttrValue& entry = holder->entries[i];
        entry.system = entries[i].global ? nullptr : holder->Text(entries[i].system);
        entry.count = Count(entries[i].values.size());
        entry.values = holder->List(entries[i].values);
    }
    holder->record.name = holder->Text(name);
    holder->record.type = type;
    holder->record.dimension = dimension;
    holder->record.local = local ? 1 : 0;
    holder->record.count = Count(entries.size());
    holder->record.entries = holder->entries.get();
    return Keep(kind, std::move(holder));
}

char* Records::Text(const std::string& text) {
    auto holder = std::make_unique<Block>();
    char* record = holder->Text(text);
    live_.emplace(record, Live{SIMNRX_RECORD_TEXT, std::move(holder)});
    return record;
}

bool Records::Free(SIMNRX_RECORD_KIND kind, const void* record, const char* function, std::string& problem) {
    auto it = live_.find(record);
    if (it != live_.end() && it->second.kind == kind) {
        live_.erase(it);
        return true;
    }
    ++badFrees_;
    if (it == live_.end())
        problem =
            std::string(function) + " was given a pointer that is no live record (never handed out, or freed already)";
    else
        problem = std::string(function) + " was given " + kKindNames[it->second.kind].record + ", which " +
                  kKindNames[it->second.kind].freedBy + " frees; it was left alone";
    return false;
}

DWORD Records::Unfreed(int kind) const {
    DWORD count = 0;
    for (const auto& entry : live_)
        if (kind == SIMNRX_RECORD_ALL || entry.second.kind == kind) ++count;
    return count;
}

}  // namespace simnrx
