#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"
#include "vellox/pathtext.h"
#include "vellox/trash.h"

// Behind the others: it takes names that the standard library uses.
#include <mbctype.h>

// What shows only where narrow text is of a code page, and where the shell has limits.

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

class RoutesTest : public ScratchTest {
protected:
    RoutesTest() {
        EXPECT_EQ(::GetACP(), 1252U);
        CanPutBack(""); // writes what another test left in memory
        WriteFile(trash_ / ".trash.db", "");
    }
    ~RoutesTest() override { RemoveFolder(trash_.parent_path().parent_path()); }

    // Whether it went into the trash and, if it did, came back.
    bool GoesAndComes(const std::string& name) const {
        const std::string before = Describe(At("place"));
        DeleteFileToRecycleBin(In("place") + '\\' + name, true);
        const bool isGone = Describe(At("place")) != before;
        EXPECT_EQ(PutBack(GetTrashFolderPath() + '\\' + name), isGone) << name;
        EXPECT_EQ(Describe(At("place")), before);
        EXPECT_EQ(GetFolderFiles(GetTrashFolderPath() + "\\*").size(), 1U) << name;
        return isGone;
    }

    const fs::path trash_ = MakeTrash();
};

TEST_F(RoutesTest, ReadTheSameBytesInTwoWays) {
    bool isFolder = true;
    WriteFile(At("place/caf\u00E9.wav"), "take");
    WriteFile(At("place/Canci\u00F3n \u00F1/b"), "take");
    fs::current_path(At("place"));
    EXPECT_TRUE(CheckPathIsDirectory("caf\xE9.wav", isFolder));
    EXPECT_FALSE(isFolder);
    EXPECT_FALSE(CheckPathIsDirectory("caf\u00E9.wav", isFolder));
    EXPECT_TRUE(CheckFileExistsEvenIfNotAccessible("caf\u00E9.wav"));
    EXPECT_FALSE(CheckFileExistsEvenIfNotAccessible("caf\xE9.wav"));
    for (const char* name : {"caf\xE9.wav", "caf\u00E9.wav", "Canci\xF3n \xF1"})
        EXPECT_TRUE(GoesAndComes(name)) << name;
    EXPECT_FALSE(GoesAndComes("Canci\u00F3n \u00F1")) << "the narrow route takes it for no folder";
    fs::permissions(Utf8Path("caf\u00E9.wav"), fs::perms(0444));
    EXPECT_TRUE(GoesAndComes("caf\u00E9.wav")) << "also a read-only file";
    const fs::path temporary = fs::temp_directory_path();
    SetTemporaryFolder(At("place/Canci\u00F3n \u00F1"));
    GetTempFilenameNoCreate();
    SetTemporaryFolder(temporary);
    EXPECT_EQ(GetFolderFiles(".\\Canci\u00F3n \u00F1\\*").size(), 2U) << "deleted by another name than it was made by";
}

// The second byte of the Japanese character \x83\\ has the value of a backslash.
TEST_F(RoutesTest, SplitBetweenCharacters) {
    const int before = ::_getmbcp();
    for (const int codePage : {932, before}) {
        SCOPED_TRACE(codePage);
        ::_setmbcp(codePage);
        EXPECT_EQ(GetPathWithoutFilename("C:\\x\\\x83\\.wav"), codePage == 932 ? "C:\\x\\" : "C:\\x\\\x83\\");
        EXPECT_EQ(GetPathWithoutFilename("C:\\x\\\x83\x41.wav"), "C:\\x\\");
    }
}

TEST_F(RoutesTest, LoseNothingBehindALongPath) {
    const std::string shortFolder(200, 'f'), longFolder = shortFolder + '\\' + std::string(200, 'g');
    const fs::path take = At("place") / longFolder / "take";
    WriteFile(take, "take");
    WriteFile(At("place/song/take"), "take");
    fs::current_path(At("place"));
    for (const std::string& item : {shortFolder, longFolder, longFolder + "\\take"}) {
        EXPECT_TRUE(CheckFileExistsEvenIfNotAccessible(item));
        DeleteFolderWithContents(item.c_str(), false, true);
        CopyFolder(item, "new");
        CopyFolder("song", item);
        EXPECT_EQ(ReadFile(take), "take");
        DeleteFileToRecycleBin(In("place/" + item), true);
        const bool isGone = !fs::exists(take);
        EXPECT_EQ(PutBack(GetTrashFolderPath() + '\\' + GetFilenameWithoutPath(item)), isGone) << item;
        fs::remove(trash_ / GetFilenameWithoutPath(item)); // Wine made a folder of that length, and its shell left it
        EXPECT_EQ(ReadFile(take), "take");
    }
    EXPECT_EQ(NormalizePath(In("place/" + longFolder)), In("place/" + longFolder));
    DeleteFolderWithContents("song", false, false);
    EXPECT_FALSE(fs::exists("song"));
    EXPECT_FALSE(fs::exists("new"));
    fs::rename(shortFolder, "f"); // what is longer, std::filesystem could not remove
}

TEST(Library, LoadsAndUnloads) {
    const fs::path library = fs::path(GetModuleFilename()).parent_path().parent_path() / "vellox.dll";
    for (int round = 0; round < 2; ++round) {
        HMODULE module = ::LoadLibraryW(library.c_str());
        ASSERT_NE(module, nullptr);
        EXPECT_NE(::GetProcAddress(module, "testsRunning"), nullptr);
        EXPECT_TRUE(::FreeLibrary(module));
        EXPECT_EQ(::GetModuleHandleA("vellox.dll"), nullptr);
    }
}

} // namespace
} // namespace Vellox::FileNames
