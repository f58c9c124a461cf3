// Reading an NRX cluster where NRXCluster has no operation of its own, through
// the public binding and the cluster's handle.

#include "nrx_view.h"

#include "console.h"

namespace orvclus {

namespace {

void FreeNames(NRXClusterGlue& glue, NRXObjNames* names) { glue.FreeObjNames(names); }
void FreeState(NRXClusterGlue& glue, NRXStateInfo* state) { glue.FreeStateInfo(state); }
void FreeText(NRXClusterGlue& glue, char* text) { glue.FreeStr(text); }
void FreeError(NRXClusterGlue& glue, NRXApiError* error) { glue.FreeError(error); }

using NrxNames = NrxRecord<NRXObjNames, &FreeNames>;
using NrxState = NrxRecord<NRXStateInfo, &FreeState>;
using NrxText = NrxRecord<char, &FreeText>;
using NrxError = NrxRecord<NRXApiError, &FreeError>;

// A service group is in exactly one of these states on a system.
const wchar_t* GroupStateName(int state) {
    switch (state) {
        case NRX_GRP_OFFLINE: return L"offline";
        case NRX_GRP_FAULTED: return L"faulted";
        case NRX_GRP_ONLINE: return L"online";
        case NRX_GRP_PARTIAL: return L"partially online";
        case NRX_GRP_GOING_OFFLINE: return L"going offline";
        case NRX_GRP_GOING_ONLINE: return L"going online";
    }
    return L"unknown";
}

// A resource's state is a set of bits; the one that says most wins.
const wchar_t* ResourceStateName(int state) {
    if (state & NRX_RES_UNKNOWN) return L"unknown";
    if (state & NRX_RES_WAIT_OFFLINE) return L"going offline";
    if (state & NRX_RES_WAIT_ONLINE) return L"going online";
    if (state & NRX_RES_ONLINE) return L"online";
    if (state & NRX_RES_FAULTED) return L"faulted";
    return L"offline";
}

const wchar_t* StateName(NRXObjType kind, int state) {
    return kind == NRX_OBJ_GROUP ? GroupStateName(state) : ResourceStateName(state);
}

}  // namespace

std::wstring WidenBytes(const char* text) {
    std::wstring wide;
    for (; text && *text; ++text) wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*text)));
    return wide;
}

std::string NarrowBytes(const std::wstring& text) {
    std::string narrow;
    for (wchar_t character : text) narrow.push_back(static_cast<char>(character));
    return narrow;
}

bool NrxObjectNames(const NRXCluster& cluster, NRXObjType kind, std::vector<std::string>& names) {
    orvclass::shared_ptr<NRXClusterGlue> glue = NRXClusterGlue::GetInstance();
    NrxNames found(*glue);
    if (glue->ObjectGetNames(cluster.GetClusterHandle(), kind, nullptr, found.Receive(), nullptr) != NRX_SUCCESS ||
        !found)
        return false;
    for (int i = 0; found->names && i < found->count; ++i)
        if (found->names[i]) names.push_back(found->names[i]);
    return true;
}

bool NrxGroupOf(const NRXCluster& cluster, const std::string& resource, std::wstring& group) {
    orvclass::shared_ptr<NRXClusterGlue> glue = NRXClusterGlue::GetInstance();
    NrxText name(*glue);
    if (glue->ResGetGrpName(cluster.GetClusterHandle(), resource.c_str(), name.Receive()) != NRX_SUCCESS || !name)
        return false;
    group = WidenBytes(name.Get());
    return true;
}

bool NrxStates(const NRXCluster& cluster, NRXObjType kind, const std::string& name, SystemStates& states) {
    orvclass::shared_ptr<NRXClusterGlue> glue = NRXClusterGlue::GetInstance();
    NrxState found(*glue);
    if (glue->GetClusterResourceState(cluster.GetClusterHandle(), kind, name.c_str(), found.Receive(), nullptr) !=
            NRX_SUCCESS ||
        !found)
        return false;
    for (int i = 0; found->entries && i < found->count; ++i)
        states.emplace_back(WidenBytes(found->entries[i].system), found->entries[i].state);
    return true;
}

std::wstring StatesInWords(NRXObjType kind, const SystemStates& states) {
    // The systems of one state together, the states in the order their
    // first system comes.
    std::vector<std::pair<const wchar_t*, std::vector<std::wstring>>> byState;
    for (const auto& each : states) {
        const wchar_t* name = StateName(kind, each.second);
        auto found = byState.begin();
        while (found != byState.end() && std::wstring(found->first) != name) ++found;
        if (found == byState.end()) found = byState.insert(byState.end(), {name, {}});
        found->second.push_back(each.first);
    }
    std::wstring words;
    for (const auto& state : byState) {
        words += (words.empty() ? L"" : L", ") + std::wstring(state.first) + L" on ";
        for (size_t i = 0; i < state.second.size(); ++i)
            words += (i == 0 ? L"" : i + 1 == state.second.size() ? L" and " : L", ") + state.second[i];
    }
    return words.empty() ? L"on no system" : words;
}

Value StatesAsJson(NRXObjType kind, const SystemStates& states) {
    std::vector<Value> items;
    for (const auto& each : states)
        items.push_back(Value::Object({L"system", L"state", L"state_code"},
                                      {Value::Text(each.first), Value::Text(StateName(kind, each.second)),
                                       Value::Number(each.second)}));
    return Value::List(items);
}

int NrxFailure(const std::wstring& what) {
    orvclass::shared_ptr<NRXClusterGlue> glue = NRXClusterGlue::GetInstance();
    NrxError error(*glue);
    *error.Receive() = glue->GetLastError();
    if (!error || error->code == NRX_E_NONE)
        return Failure(L"cannot " + what + L" (NRX gave no reason; run with --trace to see the library's)");
    std::wstring reason = FromUtf8(error->message ? error->message : "");
    reason.erase(reason.find_last_not_of(L" .\r\n") + 1);
    const std::wstring code = L"NRX error " + std::to_wstring(error->code);
    return Failure(L"cannot " + what + L": " + (reason.empty() ? code : reason + L" (" + code + L")"),
                   {{"nrx_error", error->code}});
}

}  // namespace orvclus
