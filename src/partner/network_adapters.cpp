// The network adapter that carries a subnet, from the machine's WMI, for the
// MAC address an NRX IP resource is given; and the subnet test it uses.

#include <windows.h>
#include <wbemcli.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "orvcluster/nrx_cluster.h"
#include "orvcluster/unique_handle.h"
#include "support/text.h"
#include "support/com_apartment.h"

namespace {

constexpr wchar_t kQuery[] = L"SELECT * FROM Win32_NetworkAdapterConfiguration where IPEnabled=true";

// A property read from a WMI object, cleared with it.
class Property {
public:
    Property(IWbemClassObject* object, const wchar_t* name) {
        VariantInit(&value_);
        if (FAILED(object->Get(name, 0, &value_, nullptr, nullptr))) VariantInit(&value_);
    }
    ~Property() { VariantClear(&value_); }
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;

    std::wstring Text() const {
        return value_.vt == VT_BSTR && value_.bstrVal ? std::wstring(value_.bstrVal, SysStringLen(value_.bstrVal))
                                                      : std::wstring();
    }
    // The items of a string array; empty for anything else (WMI gives null
    // where an adapter has no address).
    std::vector<std::wstring> Texts() const {
        std::vector<std::wstring> texts;
        LONG lower = 0;
        LONG upper = -1;
        if (value_.vt != (VT_ARRAY | VT_BSTR) || !value_.parray ||
            FAILED(SafeArrayGetLBound(value_.parray, 1, &lower)) ||
            FAILED(SafeArrayGetUBound(value_.parray, 1, &upper)))
            return texts;
        for (LONG i = lower; i <= upper; ++i) {
            BSTR item = nullptr;
            if (FAILED(SafeArrayGetElement(value_.parray, &i, &item))) break;
            texts.emplace_back(item ? std::wstring(item, SysStringLen(item)) : std::wstring());
            SysFreeString(item);
        }
        return texts;
    }

private:
    VARIANT value_;
};

// The four decimal octets of a dotted address or mask; false for anything else.
bool ParseOctets(const char* text, unsigned long octets[4]) {
    if (!text) return false;
    for (int i = 0; i < 4; ++i) {
        if (*text < '0' || *text > '9') return false;
        char* end = nullptr;
        octets[i] = std::strtoul(text, &end, 10);
        if (octets[i] > 255 || *end != (i < 3 ? '.' : '\0')) return false;
        text = end + (i < 3 ? 1 : 0);
    }
    return true;
}

}  // namespace

unsigned NRXCluster::IsSameSubnet(const char* a, const char* b, const char* m, const char* n) {
    unsigned long addressA[4], addressB[4], maskM[4], maskN[4];
    if (!ParseOctets(a, addressA) || !ParseOctets(b, addressB) || !ParseOctets(m, maskM) || !ParseOctets(n, maskN))
        return 0;
    for (int i = 0; i < 4; ++i)
        if ((addressA[i] & maskM[i]) != (addressB[i] & maskN[i])) return 0;
    return 1;
}

unsigned NRXCluster::GetAdapterForSubnet(const std::wstring& machine, const std::wstring& address,
                                         const std::wstring& mask, std::wstring& macAddress,
                                         std::wstring& description) {
    orv::ComApartment com;
    orv::UniqueCom<IWbemLocator> locator;
    if (FAILED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                reinterpret_cast<void**>(locator.Receive()))))
        return ERROR_INSTALL_FAILURE;

    const std::wstring path = machine.empty() ? L"ROOT\\CIMv2" : L"\\\\" + machine + L"\\ROOT\\CIMv2";
    orv::UniqueBstr space(SysAllocString(path.c_str()));
    orv::UniqueBstr language(SysAllocString(L"WQL"));
    orv::UniqueBstr query(SysAllocString(kQuery));
    orv::UniqueCom<IWbemServices> services;
    if (!space || !language || !query ||
        FAILED(locator.Get()->ConnectServer(space.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                            services.Receive())))
        return ERROR_INSTALL_FAILURE;
    // Only a remote machine's services come through a proxy; locally there
    // is none to set, and the refusal says nothing.
    CoSetProxyBlanket(services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                      RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);

    orv::UniqueCom<IEnumWbemClassObject> adapters;
    if (FAILED(services.Get()->ExecQuery(language.Get(), query.Get(),
                                         WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                         adapters.Receive())))
        return ERROR_INSTALL_FAILURE;

    const std::string wantedAddress = orv::LowBytes(address);
    const std::string wantedMask = orv::LowBytes(mask);
    for (;;) {
        orv::UniqueCom<IWbemClassObject> adapter;
        ULONG returned = 0;
        if (adapters.Get()->Next(WBEM_INFINITE, 1, adapter.Receive(), &returned) != WBEM_S_NO_ERROR || returned != 1)
            return ERROR_INSTALL_FAILURE;
        const std::vector<std::wstring> addresses = Property(adapter.Get(), L"IPAddress").Texts();
        const std::vector<std::wstring> masks = Property(adapter.Get(), L"IPSubnet").Texts();
        // The two lists go in step: an address and its own mask.
        for (size_t i = 0; i < addresses.size() && i < masks.size(); ++i) {
            if (!IsSameSubnet(wantedAddress.c_str(), orv::LowBytes(addresses[i]).c_str(), wantedMask.c_str(),
                              orv::LowBytes(masks[i]).c_str()))
                continue;
            macAddress = Property(adapter.Get(), L"MACAddress").Text();
            description = Property(adapter.Get(), L"Description").Text();
            return ERROR_SUCCESS;
        }
    }
}
