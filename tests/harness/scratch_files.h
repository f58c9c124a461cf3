#pragma once

#include <windows.h>

#include <string>

namespace orvtest {

// A fresh folder below the temporary folder for the life of a test, removed
// with everything in it afterwards.
class ScratchFolder {
public:
    explicit ScratchFolder(const std::wstring& name);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    // The folder's path, without a trailing backslash.
    const std::wstring& Path() const { return path_; }
    // Writes `text` (UTF-8) to a file of the folder, creating the folders on
    // the way; answers its full path.
    std::wstring Write(const std::wstring& relativePath, const std::string& text) const;

private:
    std::wstring path_;
};

// A copy of the test suite's sleeper program, placed at `path` (its base
// name is the process's name) and running until the object goes. The copy
// is removed afterwards.
class RunningCopy {
public:
    explicit RunningCopy(const std::wstring& path);
    ~RunningCopy();
    RunningCopy(const RunningCopy&) = delete;
    RunningCopy& operator=(const RunningCopy&) = delete;

    DWORD ProcessId() const { return process_.dwProcessId; }

private:
    void Stop();

    std::wstring path_;
    PROCESS_INFORMATION process_ = {};
};

}  // namespace orvtest
