// Where the wizard finds the product definition file: the given or current
// directory, the wizard's module folder, the installed product's "Bin Path",
// the media of a running setup program.

#include <gtest/gtest.h>

#include "harness/registry_fixture.h"
#include "harness/scratch_files.h"
#include "harness/test_services.h"
#include "orvcluster/unique_handle.h"
#include "wizard/definition_search.h"

namespace {

using orv::FindDefinitionFile;

const wchar_t kFile[] = L"clusconfig.xml";
const wchar_t kOrvaneInstall[] = L"Software\\Brassel\\Orvane For Windows\\Orvane\\13.0\\Install";
const wchar_t kKelvaneInstall[] = L"Software\\PENTRY\\Kelvane\\ORVDS\\13.0\\Install";

class DefinitionSearch : public ::testing::Test {
protected:
    void SetUp() override {
        wchar_t current[MAX_PATH];
        GetCurrentDirectoryW(MAX_PATH, current);
        previousDirectory_ = current;
        SetCurrentDirectoryW(folder_.Path().c_str());
    }
    void TearDown() override { SetCurrentDirectoryW(previousDirectory_.c_str()); }

    // Puts a definition file into a folder below the scratch folder.
    std::wstring Place(const std::wstring& subfolder) const {
        return folder_.Write(subfolder + L"\\" + kFile, "<R/>");
    }
    std::wstring Folder(const std::wstring& subfolder) const {
        return folder_.Path() + L"\\" + subfolder;
    }

    orvtest::ScratchFolder folder_{L"orv-search"};
    std::wstring previousDirectory_;
};

TEST_F(DefinitionSearch, EachPlaceInTurn) {
    const std::wstring given = Place(L"given");
    const std::wstring wizard = Place(L"wizard");
    const std::wstring installed = Place(L"installed");
    const std::wstring media = Place(L"media\\bin");

    // A module of the wizard's name, loaded from its own folder.
    ASSERT_TRUE(CopyFileW((orvtest::ProgramFolder() + L"orvclass_mini.dll").c_str(),
                          (Folder(L"wizard") + L"\\orvinstdlgs.dll").c_str(), FALSE));
    orv::UniqueModule wizardModule(
        LoadLibraryW((Folder(L"wizard") + L"\\orvinstdlgs.dll").c_str()));
    ASSERT_TRUE(wizardModule);
    orvtest::ScopedMachineKey install(kOrvaneInstall);
    install.SetString(L"Bin Path", Folder(L"installed"));
    orvtest::RunningCopy setup(Folder(L"media") + L"\\setup.exe");

    for (const std::wstring& expected : {given, wizard, installed, media}) {
        EXPECT_EQ(expected, FindDefinitionFile(kFile, Folder(L"given").c_str()));
        DeleteFileW(expected.c_str());
    }
    EXPECT_EQ(L"", FindDefinitionFile(kFile, Folder(L"given").c_str()));
}

TEST_F(DefinitionSearch, GivenDirectoryOrTheCurrentOne) {
    const std::wstring given = Place(L"given");
    const std::wstring current = folder_.Write(kFile, "<R/>");
    EXPECT_EQ(given, FindDefinitionFile(kFile, (Folder(L"given") + L"\\").c_str()));
    EXPECT_EQ(current, FindDefinitionFile(kFile, nullptr));
    EXPECT_EQ(current, FindDefinitionFile(kFile, L""));
    // A directory of 520 characters or more is not used: the current
    // directory takes its place. One character less is used, and fails.
    const std::wstring longDirectory = Folder(L"x") + std::wstring(520 - Folder(L"x").size(), L'x');
    EXPECT_EQ(current, FindDefinitionFile(kFile, longDirectory.c_str()));
    EXPECT_EQ(L"", FindDefinitionFile(kFile, longDirectory.substr(0, 519).c_str()));
    EXPECT_EQ(L"", FindDefinitionFile(nullptr, nullptr));
}

TEST_F(DefinitionSearch, BinPathOfTheInstalledProduct) {
    // A folder whose path is 129 characters: with its terminator exactly
    // the 260 bytes the value is read with.
    const std::wstring binFolder = Folder(L"b") + std::wstring(129 - Folder(L"b").size(), L'b');
    const std::wstring file = Place(binFolder.substr(folder_.Path().size() + 1));
    const std::wstring empty = Folder(L"nothing-here");
    orvtest::ScopedMachineKey install(kOrvaneInstall);
    install.SetString(L"Bin Path", binFolder);
    EXPECT_EQ(file, FindDefinitionFile(kFile, empty.c_str()));
    install.SetString(L"Bin Path", binFolder + L"\\");  // 130 characters: does not fit
    EXPECT_EQ(L"", FindDefinitionFile(kFile, empty.c_str()));
    install.SetDword(L"Bin Path", 1);
    EXPECT_EQ(L"", FindDefinitionFile(kFile, empty.c_str()));

    // With the other product installed, its key is the one read.
    install.SetString(L"Bin Path", binFolder);
    orvtest::ScopedMachineKey other(kKelvaneInstall);
    EXPECT_EQ(L"", FindDefinitionFile(kFile, empty.c_str()));
    other.SetString(L"Bin Path", binFolder + L"\\");
    EXPECT_EQ(L"", FindDefinitionFile(kFile, empty.c_str()));
    other.SetString(L"Bin Path", binFolder);
    EXPECT_EQ(file, FindDefinitionFile(kFile, empty.c_str()));
}

}  // namespace
