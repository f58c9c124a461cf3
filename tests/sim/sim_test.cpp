#include "sim_test.h"

#include <cstring>
#include <sstream>

namespace simtest {

namespace {

template <class F>
F Bind(const wchar_t* library, const char* name) {
    HMODULE module = LoadLibraryW(library);
    return module ? reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
}

Api BindAll() {
    Api api;
#define SIMTEST_BIND(name)                                  \
    api.name = Bind<name##Function>(L"clusapi.dll", #name); \
    if (!api.name) api.name = Bind<name##Function>(L"resutils.dll", #name);
    SIMCLUSTER_ENTRY_POINTS(SIMTEST_BIND)
#undef SIMTEST_BIND
    return api;
}

void Append(std::vector<BYTE>& bytes, const void* data, size_t size) {
    bytes.insert(bytes.end(), static_cast<const BYTE*>(data), static_cast<const BYTE*>(data) + size);
}

}  // namespace

const Api& Sim() {
    static const Api api = BindAll();
    return api;
}

std::vector<std::string> ListOf(const std::string& list) {
    std::vector<std::string> names;
    std::stringstream stream(list);
    for (std::string name; std::getline(stream, name, ',');) names.push_back(name);
    return names;
}

void ListBuilder::Entry(DWORD syntax, const void* data, size_t size) {
    DWORD length = static_cast<DWORD>(size);
    Append(body_, &syntax, 4);
    Append(body_, &length, 4);
    Append(body_, data, size);
    body_.resize(body_.size() + (4 - size % 4) % 4);
}

ListBuilder& ListBuilder::Add(const std::wstring& name, DWORD syntax, const void* data, size_t size) {
    Entry(CLUSPROP_SYNTAX_NAME, name.c_str(), (name.size() + 1) * sizeof(wchar_t));
    Entry(syntax, data, size);
    const DWORD endMark = 0;
    Append(body_, &endMark, 4);
    ++count_;
    return *this;
}

std::vector<BYTE> ListBuilder::Bytes() const {
    std::vector<BYTE> list;
    Append(list, &count_, 4);
    list.insert(list.end(), body_.begin(), body_.end());
    return list;
}

std::vector<ValueEntry> ValueEntries(const BYTE* list, size_t size) {
    std::vector<ValueEntry> entries;
    size_t at = 0;
    DWORD syntax = 0, length = 0;
    while (at + 4 <= size && (std::memcpy(&syntax, list + at, 4), syntax != 0)) {
        std::memcpy(&length, list + at + 4, 4);
        entries.emplace_back(syntax, std::vector<BYTE>(list + at + 8, list + at + 8 + length));
        at += 8 + (length + 3) / 4 * 4;
    }
    EXPECT_EQ(size, at + 4) << "the end mark closes the list";
    return entries;
}

DWORD FindText(const void* list, size_t size, const wchar_t* name, std::wstring* text) {
    wchar_t* value = nullptr;
    DWORD result = Sim().ResUtilFindSzProperty(list, static_cast<DWORD>(size), name, &value);
    if (result == ERROR_SUCCESS && text) *text = value;
    if (value) {
        EXPECT_EQ(nullptr, LocalFree(value)) << "the copy comes from LocalAlloc";
    }
    return result;
}

std::wstring TextIn(const std::vector<BYTE>& list, const wchar_t* name) {
    std::wstring text;
    FindText(list.data(), list.size(), name, &text);
    return text;
}

DWORD NumberIn(const std::vector<BYTE>& list, const wchar_t* name) {
    DWORD value = 0xDEADBEEF;
    Sim().ResUtilFindDwordProperty(list.data(), static_cast<DWORD>(list.size()), name, &value);
    return value;
}

std::string SavedScenario() {
    DWORD size = 0;
    EXPECT_FALSE(SimCluster_SaveScenarioText(nullptr, &size));
    EXPECT_EQ(DWORD(ERROR_MORE_DATA), GetLastError());
    std::string text(size, '\0');
    EXPECT_TRUE(SimCluster_SaveScenarioText(&text[0], &size));
    text.resize(size - 1);
    return text;
}

void SimulatorTest::SetUp() { Load(ExampleScenario()); }

void SimulatorTest::Load(const std::wstring& scenario) {
    cluster_.reset();
    ASSERT_TRUE(SimCluster_LoadScenarioFile(scenario.c_str())) << Utf8(SimCluster_LastError());
    SimCluster_ClearFailures();
    SimCluster_ResetCounters();
    cluster_ = OpenLocal();
    ASSERT_TRUE(cluster_) << GetLastError();
}

void SimulatorTest::LoadText(const char* json) {
    cluster_.reset();
    ASSERT_TRUE(SimCluster_LoadScenarioText(json)) << Utf8(SimCluster_LastError());
    cluster_ = OpenLocal();
    ASSERT_TRUE(cluster_) << GetLastError();
}

void SimulatorTest::TearDown() {
    cluster_.reset();
    EXPECT_EQ(0u, SimCluster_OpenHandles(SIMCLUSTER_HANDLE_ALL)) << "the test left handles open";
}

Owned<HCLUSTER> SimulatorTest::OpenLocal() { return Owned<HCLUSTER>(Sim().OpenCluster(nullptr)); }

Owned<HRESOURCE> SimulatorTest::Resource(const wchar_t* name) {
    return Owned<HRESOURCE>(Sim().OpenClusterResource(cluster_.get(), name));
}

Owned<HGROUP> SimulatorTest::Group(const wchar_t* name) {
    return Owned<HGROUP>(Sim().OpenClusterGroup(cluster_.get(), name));
}

Owned<HNODE> SimulatorTest::Node(const wchar_t* name) {
    return Owned<HNODE>(Sim().OpenClusterNode(cluster_.get(), name));
}

std::vector<BYTE> SimulatorTest::ResourceControl(const wchar_t* resource, DWORD code, const void* input,
                                                 DWORD inputSize, DWORD* result) {
    Owned<HRESOURCE> handle = Resource(resource);
    std::vector<BYTE> answer(8);
    DWORD returned = 0;
    DWORD status = Sim().ClusterResourceControl(handle.get(), nullptr, code, const_cast<void*>(input), inputSize,
                                                answer.data(), static_cast<DWORD>(answer.size()), &returned);
    if (status == ERROR_MORE_DATA) {
        answer.resize(returned);
        status = Sim().ClusterResourceControl(handle.get(), nullptr, code, const_cast<void*>(input), inputSize,
                                              answer.data(), returned, &returned);
    }
    answer.resize(status == ERROR_SUCCESS ? returned : 0);
    if (result) *result = status;
    return answer;
}

std::vector<std::wstring> SimulatorTest::ClusterNames(DWORD types) {
    std::vector<std::wstring> names;
    Owned<HCLUSENUM> enumeration(Sim().ClusterOpenEnum(cluster_.get(), types));
    wchar_t name[260];
    DWORD type = 0;
    for (DWORD index = 0;; ++index) {
        DWORD length = 260;
        if (Sim().ClusterEnum(enumeration.get(), index, &type, name, &length) != ERROR_SUCCESS) break;
        names.push_back(name);
    }
    return names;
}

CLUSTER_RESOURCE_STATE SimulatorTest::StateOf(const wchar_t* resource) {
    Owned<HRESOURCE> handle = Resource(resource);
    return Sim().GetClusterResourceState(handle.get(), nullptr, nullptr, nullptr, nullptr);
}

}  // namespace simtest
