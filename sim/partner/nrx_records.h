#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "nrx_model.h"
#include "simnrx.h"

// The records the NRX API hands out. Each one lives in a block of its own
// until it comes back to its free function; the table of live records is
// what tells a good free from a bad one, so a bad pointer is never touched.

namespace simnrx {

// One entry of an attribute record: global (no system) or a system's.
struct AttrEntry {
    bool global;
    std::string system;
    Values values;
};

class Records {
public:
    Records();
    ~Records();
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

    NRXApiError* Error(int code, const std::string& function, const std::string& message);
    NRXCntlInfo* CntlInfo(NRXCntlFlag flag, const Values& values);
    NRXObject* Object(const std::string& name, NRXObjType type, const Values& attributes);
    NRXObjNames* Names(const Values& names);
    NRXStateInfo* StateInfo(NRXObjType type, const std::string& object,
                            const std::vector<std::pair<std::string, int>>& entries);
    // SIMNRX_RECORD_OBJ_ATTR or SIMNRX_RECORD_ATTR.
    NRXAttr* Attr(SIMNRX_RECORD_KIND kind, const std::string& name, NRXAttrType type, NRXAttrDimension dimension,
                  bool local, const std::vector<AttrEntry>& entries);
    char* Text(const std::string& text);

    // Frees a live record of that kind. Any other pointer is left alone,
    // counted, and `problem` names it.
    bool Free(SIMNRX_RECORD_KIND kind, const void* record, const char* function, std::string& problem);

    DWORD Unfreed(int kind) const;
    DWORD BadFrees() const { return badFrees_; }
    void ResetBadFrees() { badFrees_ = 0; }

private:
    struct Block;
    template <class T>
    struct Holder;
    struct Live {
        SIMNRX_RECORD_KIND kind;
        std::unique_ptr<Block> block;
    };

    // Takes a holder into the table; answers its record.
    template <class H>
    auto Keep(SIMNRX_RECORD_KIND kind, std::unique_ptr<H> holder);

    std::unordered_map<const void*, Live> live_;
    DWORD badFrees_ = 0;
};

}  // namespace simnrx
