#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace simhost {

// Per entry point of a simulated library, known by its exported name: how
// often it was called, and the failures scripted for its coming calls.
template <typename Failure, typename Char, size_t EntryPoints>
class CallSchedule {
public:
    using Names = const Char* const (&)[EntryPoints];
    explicit CallSchedule(Names names) : names_(names) {}

    // The index of the entry point of that name, or -1.
    int Find(const std::basic_string<Char>& name) const {
        for (size_t i = 0; i < EntryPoints; ++i)
            if (name == names_[i]) return static_cast<int>(i);
        return -1;
    }

    // Counts a call of entry point `index`; the failure it must answer, or
    // null. The answer stays valid until the next call.
    const Failure* Count(size_t index) {
        ++calls_[index];
        std::vector<Scripted>& scripted = scripted_[index];
        for (auto it = scripted.begin(); it != scripted.end(); ++it) {
            if (it->before > 0) {
                --it->before;
                continue;
            }
            due_ = it->failure;
            if (!it->forever && --it->left == 0) scripted.erase(it);
            return &due_;
        }
        return nullptr;
    }

    // `failure` for the nth call from now (1 is the next, never 0) and the
    // count - 1 calls after it; a count of 0 means every call from the nth on.
    void Script(size_t index, DWORD nth, DWORD count, const Failure& failure) {
        scripted_[index].push_back(Scripted{nth - 1, count, count == 0, failure});
    }
    void Clear() {
        for (std::vector<Scripted>& scripted : scripted_) scripted.clear();
    }

    // Calls of the entry point of that name; 0 for a name that is none.
    DWORD Calls(const std::basic_string<Char>& name) const {
        const int index = Find(name);
        return index < 0 ? 0 : calls_[index];
    }
    void ResetCalls() { calls_.fill(0); }

private:
    struct Scripted {
        DWORD before;
        DWORD left;
        bool forever;
        Failure failure;
    };
    Names names_;
    std::array<DWORD, EntryPoints> calls_{};
    std::array<std::vector<Scripted>, EntryPoints> scripted_;
    Failure due_{};
};

}  // namespace simhost
