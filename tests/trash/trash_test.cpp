#include "vellox/trash.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "support/scratch.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

// A process asks for the home folder once, so all tests have the same.
class TrashTest : public ScratchTest {
protected:
    TrashTest() {
        static const std::string first = fs::current_path().string();
        data = first + "-data";
        trash = data / "Vellox Studio 10" / "Trash";
        fs::create_directories(trash);
        for (const fs::path& folder : {data, trash.parent_path(), trash})
            fs::permissions(folder, fs::perms::all);
        ::setenv("XDG_DATA_HOME", data.c_str(), 1);
        EXPECT_EQ(GetTrashFolderPath(), Win32(trash));
        CanPutBack(""); // writes what another test left in memory
        WriteFile(trash / ".trash.db", "");
    }
    ~TrashTest() override { fs::remove_all(data); }

    static void Trash(const std::string& path) { DeleteFileToRecycleBin(path, true); }
    std::string InTrash(const std::string& name) const { return Win32(trash) + '\\' + name; }
    // How many entries stand beside the catalogue.
    std::ptrdiff_t Items() const { return std::distance(fs::directory_iterator(trash), {}) - 1; }

    fs::path data;
    fs::path trash;
};

TEST_F(TrashTest, GivesBackWhatItTookFromAnyVolume) {
    const std::pair<std::string, std::string> items[] = {
        // clang-format off
        {"a.b.wav", "a.b1.wav"}, {"Canci\u00F3n \u00F1.Song", "Canci\u00F3n \u00F11.Song"}, {".cfg", ".cfg1"},
        {"README", "README1"}, {"to folder", "to folder1"}, {"dangling.", "dangling1."}, {"empty", "empty1"}, {"*", "*1"},
        // clang-format on
    };
    const auto age = [](const fs::path& path) { return fs::file_time_type(-std::chrono::hours(1'500'000 + path.string().size())); };
    for (const fs::path& place : {At("place"), OtherVolume() / "place"}) {
        for (const fs::path& folder : {place / "x", place / "y"}) {
            const fs::path song = folder / items[1].first;
            for (const fs::path& file : {song / "sub/b", song / "locked", folder / "a.b.wav", folder / ".cfg", folder / "README"})
                WriteFile(file, file.string());
            ASSERT_EQ(::mkfifo((song / "fifo").c_str(), 0640), 0);
            fs::create_symlink("../README", song / "link");
            fs::create_symlink("README", folder / "*");
            fs::create_symlink("nowhere", folder / "dangling.");
            fs::create_directory_symlink(song, folder / "to folder");
            fs::create_directory(folder / "empty");
            fs::permissions(song / "sub", fs::perms::owner_all | fs::perms::group_exec);
            fs::permissions(song / "locked", fs::perms::owner_read);
            for (const auto& entry : fs::recursive_directory_iterator(folder))
                if (!entry.is_symlink())
                    fs::last_write_time(entry, age(entry));
        }
        const std::string before = Describe(place);
        for (const auto& [name, numbered] : items) {
            VELLOX_TRACE_ROW(Win32(place / name));
            for (const char* folder : {"x", "y"})
                Trash(Win32(place / folder / name));
            EXPECT_TRUE(Items() == 2 && !fs::exists(fs::symlink_status(place / "x" / name)));
            EXPECT_TRUE(PutBack(InTrash(name)) && PutBack(InTrash(numbered)) && !PutBack(InTrash(name)));
        }
        EXPECT_EQ(Describe(place), before);
        for (const char* folder : {"x", "y"})
            for (const auto& entry : fs::recursive_directory_iterator(place / folder))
                EXPECT_TRUE(entry.is_symlink() || entry.last_write_time() == age(entry)) << entry.path();
    }
}

TEST_F(TrashTest, TakesTheNameFromAnySpelling) {
    const std::string rows[][3] = {
        // clang-format off
        {"Song.d\\\\", "Song.d/a", "Song.d"}, {"sub/b.wav", "sub/b.wav", "b.wav"}, {"C:c.wav", "c.wav", "c.wav"},
        {".\\d ", "d ", "d "}, {"caf\xE9.wav", "caf\xE9.wav", "caf\xE9.wav"}, {In("./f/../g"), "g", "g"},
        // clang-format on
    };
    for (const auto& [path, file, name] : rows) {
        VELLOX_TRACE_ROW(path);
        for (const char* content : {"first", "second"}) {
            WriteFile(At(file), content);
            Trash(path);
        }
        EXPECT_TRUE(Items() == 2 && PutBack(InTrash(name)) && ReadFile(At(file)) == "first");
        fs::remove_all(At(file).parent_path() / ...);
    }
    const std::string before = Describe(fs::current_path());
    for (const char* path : {"", ".", "..", "C:", R"(C:\)", R"(\)", "/", "C:..", R"(\\srv\share)", "//srv/share/", R"(\\srv)", R"(a\..)"})
        Trash(path);
    EXPECT_EQ(Describe(fs::current_path()), before);
    EXPECT_EQ(fs::file_size(trash / ".trash.db"), 8U);
}
