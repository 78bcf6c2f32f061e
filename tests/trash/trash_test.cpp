#include "vellox/trash.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <set>

#include "support/scratch.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

// A process asks for the home folder once, so all tests have the same.
class TrashTest : public ScratchTest {
protected:
    TrashTest() {
        fs::create_directories(trash);
        for (const fs::path& folder : {data, trash.parent_path(), trash})
            fs::permissions(folder, fs::perms::all);
        ::setenv("XDG_DATA_HOME", data.c_str(), 1);
        EXPECT_EQ(GetTrashFolderPath(), Win32(trash));
        CanPutBack(""); // writes what another test left in memory
        fs::remove(trash / ".trash.db");
    }
    ~TrashTest() override { fs::remove_all(data); }

    static fs::path FirstFolder() {
        static const fs::path folder = fs::current_path();
        return folder;
    }
    static void Trash(const std::string& path) { DeleteFileToRecycleBin(path, true); }
    std::string InTrash(const std::string& name) { return Win32(trash / name); }
    std::set<std::string> Items() {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(trash))
            names.insert(entry.path().filename().string());
        names.erase(".trash.db");
        return names;
    }
    static std::string DescribeWithTimes(const fs::path& place) {
        std::string text = Describe(place);
        for (const auto& entry : fs::recursive_directory_iterator(place))
            if (!entry.is_symlink() && entry.path().parent_path().parent_path() != place)
                text += std::to_string(entry.last_write_time().time_since_epoch().count()) + entry.path().string();
        return text;
    }

    const fs::path data = FirstFolder().string() + "-data";
    const fs::path trash = data / "Vellox Studio 10" / "Trash";
};

TEST_F(TrashTest, GivesBackWhatItTookFromAnyVolume) {
    const std::string items[][2] = {
        // clang-format off
        {"a.b.wav", "a.b1.wav"}, {"Canci\u00F3n \u00F1.Song", "Canci\u00F3n \u00F11.Song"}, {".cfg", ".cfg1"},
        {"README", "README1"}, {"to file", "to file1"}, {"to folder", "to folder1"}, {"dangling.", "dangling1."},
        {"empty", "empty1"}, {"*", "*1"}, {"caf\xE9.wav", "caf\xE9" "1.wav"},
        // clang-format on
    };
    for (const fs::path& place : {At("place"), OtherVolume() / "place"}) {
        for (const char* folder : {"x", "y"}) {
            const fs::path song = place / folder / items[1][0];
            WriteFile(song / "sub/b.wav", folder + std::string(100000, '#'));
            WriteFile(song / "locked", folder);
            ASSERT_EQ(::mkfifo((song / "fifo").c_str(), 0640), 0);
            fs::create_symlink("../README", song / "link");
            for (const char* file : {"a.b.wav", ".cfg", "README"})
                WriteFile(place / folder / file, file + std::string(folder));
            fs::create_symlink("README", place / folder / "to file");
            fs::create_symlink("README", place / folder / "*");
            fs::create_directory_symlink(song, place / folder / "to folder");
            fs::create_symlink("nowhere", place / folder / "dangling.");
            fs::create_directory(place / folder / "empty");
            fs::permissions(song / "locked", fs::perms::owner_read);
            fs::permissions(song / "sub", fs::perms::owner_all | fs::perms::group_exec);
            fs::permissions(song, fs::perms::owner_all);
            for (const auto& entry : fs::recursive_directory_iterator(place / folder))
                if (!entry.is_symlink())
                    fs::last_write_time(entry, entry.last_write_time() - std::chrono::hours(entry.path().string().size()));
        }
        const std::string before = DescribeWithTimes(place);
        for (const auto& [name, numbered] : items) {
            VELLOX_TRACE_ROW(name);
            Trash(Win32(place / "x" / name));
            Trash(Win32(place / "y" / name));
            EXPECT_EQ(Items(), (std::set{name, numbered}));
            EXPECT_FALSE(fs::exists(fs::symlink_status(place / "x" / name)));
            EXPECT_TRUE(PutBack(InTrash(name)) && PutBack(InTrash(numbered)) && !PutBack(InTrash(name)));
        }
        EXPECT_EQ(DescribeWithTimes(place), before);
    }
}

} // namespace
} // namespace Vellox::FileNames
