#include "harness/scratch_files.h"

#include <cstdio>
#include <stdexcept>

#include "harness/test_services.h"

namespace orvtest {

namespace {

void RemoveTree(const std::wstring& path) {
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW((path + L"\\*").c_str(), &entry);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = entry.cFileName;
            if (name == L"." || name == L"..") continue;
            const std::wstring child = path + L"\\" + name;
            if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                RemoveTree(child);
            } else {
                SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileW(child.c_str());
            }
        } while (FindNextFileW(search, &entry));
        FindClose(search);
    }
    RemoveDirectoryW(path.c_str());
}

void CreateFolders(const std::wstring& path) {
    for (size_t slash = path.find(L'\\', 3); slash != std::wstring::npos;
         slash = path.find(L'\\', slash + 1))
        CreateDirectoryW(path.substr(0, slash).c_str(), nullptr);
    CreateDirectoryW(path.c_str(), nullptr);
}

}  // namespace

ScratchFolder::ScratchFolder(const std::wstring& name) {
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    path_ = std::wstring(temp) + name + L"-" + std::to_wstring(GetCurrentProcessId());
    RemoveTree(path_);
    CreateFolders(path_);
}

ScratchFolder::~ScratchFolder() { RemoveTree(path_); }

std::wstring ScratchFolder::Write(const std::wstring& relativePath, const std::string& text) const {
    const std::wstring path = path_ + L"\\" + relativePath;
    CreateFolders(path.substr(0, path.rfind(L'\\')));
    FILE* file = _wfopen(path.c_str(), L"wb");
    const bool written = file && fwrite(text.data(), 1, text.size(), file) == text.size();
    if (file) fclose(file);
    if (!written) throw std::runtime_error("cannot write a scratch file");
    return path;
}

RunningCopy::RunningCopy(const std::wstring& path) : path_(path) {
    CreateFolders(path_.substr(0, path_.rfind(L'\\')));
    if (!CopyFileW((ProgramFolder() + L"orvsleeper.exe").c_str(), path_.c_str(), FALSE))
        throw std::runtime_error("cannot copy the sleeper program");
    const std::wstring eventName = L"orvsleeper-ready-" + std::to_wstring(GetCurrentProcessId()) +
                                   L"-" + std::to_wstring(GetTickCount64());
    HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, eventName.c_str());
    std::wstring commandLine = L"\"" + path_ + L"\" " + eventName;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    const bool started = CreateProcessW(path_.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                                        CREATE_NO_WINDOW, nullptr, nullptr, &startup, &process_);
    const bool running = started && WaitForSingleObject(ready, 10000) == WAIT_OBJECT_0;
    CloseHandle(ready);
    if (!running) {
        Stop();
        throw std::runtime_error("the sleeper program did not start");
    }
}

RunningCopy::~RunningCopy() { Stop(); }

void RunningCopy::Stop() {
    if (process_.hProcess) {
        TerminateProcess(process_.hProcess, 0);
        WaitForSingleObject(process_.hProcess, 10000);
        CloseHandle(process_.hProcess);
        CloseHandle(process_.hThread);
        process_ = {};
    }
    DeleteFileW(path_.c_str());
}

}  // namespace orvtest
