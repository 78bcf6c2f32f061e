#include "vellox/trash.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <optional>

#include "support/scratch.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

// A process asks for the home folder once, so all tests have the same.
class TrashTest : public ScratchTest {
protected:
    TrashTest() {
        static const std::string first = fs::current_path().string();
        trash = first + "-data/Vellox Studio 10/Trash";
        fs::create_directories(trash);
        ::setenv("XDG_DATA_HOME", Data().c_str(), 1);
        EXPECT_EQ(GetTrashFolderPath(), Win32(trash));
        CanPutBack(""); // writes what another test left in memory
        WriteFile(trash / ".trash.db", "");
    }
    ~TrashTest() override { fs::remove_all(Data()); }
    static void Trash(const std::string& path) { DeleteFileToRecycleBin(path, true); }
    fs::path Data() const { return trash.parent_path().parent_path(); }
    std::string InTrash(const std::string& name) const { return Win32(trash) + '\\' + name; }
    // How many entries stand beside the catalogue.
    std::ptrdiff_t Items() const { return std::distance(fs::directory_iterator(trash), {}) - 1; }
    fs::path trash;
};

TEST_F(TrashTest, GivesBackWhatItTookFromAnyVolume) {
    const fs::file_time_type old(std::chrono::hours(-1'500'000));
    for (const fs::path& place : {At("place"), OtherVolume() / "place"}) {
        const fs::path song = place / "Canci\u00F3n \u00F1.Song";
        const fs::path entries[] = {place / "a.wav", song / "sub/b", song / "sub", song};
        for (const fs::path& file : {entries[0], entries[1], song / "locked"})
            WriteFile(file, file.string());
        fs::create_directory(place / "empty");
        fs::create_directory_symlink(song, place / "to folder");
        fs::create_symlink("nowhere", place / "dangling");
        for (const fs::path& link : {place / "*", song / "link"})
            fs::create_symlink("a.wav", link);
        ASSERT_EQ(::mkfifo((song / "fifo").c_str(), 0640), 0);
        fs::permissions(song / "sub", fs::perms(0710));
        fs::permissions(song / "locked", fs::perms(0440));
        for (const fs::path& entry : entries)
            fs::last_write_time(entry, old);
        const std::string before = Describe(place);
        for (const char* name : {"a.wav", "Canci\u00F3n \u00F1.Song", "empty", "to folder", "dangling", "*"}) {
            Trash(Win32(place / name));
            EXPECT_TRUE(Items() == 1 && !fs::exists(fs::symlink_status(place / name))) << name;
            EXPECT_TRUE(PutBack(InTrash(name)) && !PutBack(InTrash(name))) << name;
        }
        EXPECT_EQ(Describe(place), before);
        for (const fs::path& entry : entries)
            EXPECT_TRUE(fs::last_write_time(entry) == old) << entry;
    }
}

TEST_F(TrashTest, NumbersNamesOfAnySpelling) {
    const std::string rows[][4] = {
        // clang-format off
        {In("a.b.wav"), "a.b.wav", "a.b.wav", "a.b1.wav"}, {In(".cfg"), ".cfg", ".cfg", ".cfg1"}, {".\\d ", "d ", "d ", "d 1"},
        {In("sub/README"), "sub/README", "README", "README1"}, {"My.Song\\\\", "My.Song", "My.Song", "My1.Song"},
        {"sub/b.wav", "sub/b.wav", "b.wav", "b1.wav"}, {"C:c.wav", "c.wav", "c.wav", "c1.wav"},
        {"caf\xE9.wav", "caf\xE9.wav", "caf\xE9.wav", "caf\xE9" "1.wav"}, {In("f/../g.1."), "g.1.", "g.1.", "g.11."},
        // clang-format on
    };
    for (const auto& [path, item, name, numbered] : rows) {
        VELLOX_TRACE_ROW(path);
        const fs::path file = path.back() == '\\' ? At(item) / "a" : At(item);
        for (const char* content : {"first", "second"}) {
            WriteFile(file, content);
            Trash(path);
        }
        EXPECT_TRUE(Items() == 2 && PutBack(InTrash(numbered)) && ReadFile(file) == "second");
        fs::remove_all(At(item));
        EXPECT_TRUE(PutBack(InTrash(name)) && ReadFile(file) == "first");
    }
    const std::string before = Describe(fs::current_path());
    for (const char* path :
         {"", ".", "..", "C:", "C:\\", "\\", "/", "C:..", R"(\\srv\share)", "//srv/share/", R"(\\srv)", R"(a\..)"})
        Trash(path);
    EXPECT_EQ(Describe(fs::current_path()), before);
    EXPECT_EQ(fs::file_size(trash / ".trash.db"), 8U);
}

TEST_F(TrashTest, RemembersEveryItem) {
    WriteFile(At("x/a"), "a");
    Trash(In("x/a"));
    const std::string catalogue = ReadFile(trash / ".trash.db");
    for (const char* name : {"b", "c"})
        DeleteFileToRecycleBin(In(name), false);
    EXPECT_EQ(ReadFile(trash / ".trash.db"), catalogue);
    fs::create_directory_symlink(Data(), At("link"));
    for (const fs::path& path :
         {trash, trash.parent_path(), At("link/Vellox Studio 10/Trash"), trash / "a", trash / ".trash.db"})
        Trash(Win32(path));
    for (const char* name : {"a", "a1", "b", "c", ".trash1.db"})
        EXPECT_TRUE(CanPutBack(InTrash(name))) << name;
    for (const std::string& path : {InTrash("B"), Win32(trash) + "/b", InTrash("..\\Trash\\b")})
        EXPECT_TRUE(!CanPutBack(path) && !PutBack(path)) << path;
    EXPECT_TRUE(Items() == 2 && PutBack(InTrash("c")) && PutBack(InTrash("a1")) && !PutBack(InTrash("a1")));
    fs::remove(At("x"));
    EXPECT_TRUE(PutBack(InTrash("a")) && !CanPutBack(InTrash("a")) && !fs::exists(At("x")) &&
                ReadFile(trash / "a") == "a");
}

TEST_F(TrashTest, TouchesNothingAtATakenPlace) {
    WriteFile(At("file"), "old");
    fs::create_directory(At("folder"));
    fs::create_symlink("nowhere", At("link"));
    for (const fs::path& item : {At("place/a"), OtherVolume() / "place/a"})
        for (const fs::path& content : {item, item / "b"})
            for (const char* occupant : {"file", "folder", "link"}) {
                VELLOX_TRACE_ROW(content.string() + " " + occupant);
                WriteFile(content, "new");
                Trash(Win32(item));
                fs::copy(At(occupant), item, fs::copy_options::copy_symlinks | fs::copy_options::recursive);
                const std::string before = Describe(item.parent_path());
                EXPECT_TRUE(!PutBack(InTrash("a")) && CanPutBack(InTrash("a")) &&
                            Describe(item.parent_path()) == before);
                fs::remove(item);
                EXPECT_TRUE(PutBack(InTrash("a")) && ReadFile(content) == "new");
                fs::remove_all(item);
            }
}

TEST_F(TrashTest, LeavesTheSourceWholeWithoutAWholeCopy) {
    const fs::path place = OtherVolume();
    for (const char* file : {"song/big", "song/sub/a", "caf\xE9/a", "caf\u00E9/a", "caf\uFFFD/a", "shut/a", "shut/b"})
        WriteFile(place / file, std::string(*file == 's' ? 20000 : 10, *file));
    WriteFile(trash / "caf\u00E9/a", "of the same name");
    for (const fs::path& folder : {trash, place / "shut"})
        fs::permissions(folder, fs::perms::all);
    fs::permissions(place / "shut/b", fs::perms::none);
    const std::string before = Describe(Data()) + Describe(place);
    std::optional<AsOrdinaryUser> user(std::in_place);
    DeleteFileToRecycleBin(Win32(place / "shut"), false);
    user.reset();
    const struct rlimit full = {8192, RLIM_INFINITY};
    struct rlimit limit;
    ::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::prlimit(0, RLIMIT_FSIZE, &full, &limit), 0);
    for (const char* name : {"song", "song/big", "caf\xE9", "caf\xE9/a"})
        DeleteFileToRecycleBin(Win32(place / name), false);
    ::prlimit(0, RLIMIT_FSIZE, &limit, nullptr);
    EXPECT_EQ(Describe(Data()) + Describe(place), before);
}

TEST_F(TrashTest, MovesWithoutItsCatalogueAndFolders) {
    ASSERT_EQ(::mkfifo(At("fifo").c_str(), 0666), 0);
    fs::create_directory(At("folder"));
    fs::create_symlink("nowhere", At("link"));
    ::alarm(100);
    for (const char* kind : {"fifo", "folder", "link"}) {
        fs::remove(trash / ".trash.db");
        fs::rename(At(kind), trash / ".trash.db");
        WriteFile(At("a"), kind);
        Trash(In("a"));
        EXPECT_TRUE(CanPutBack(InTrash("a")) && !fs::exists(At("a"))) << kind;
        fs::remove(trash / ".trash.db");
        EXPECT_TRUE(PutBack(InTrash("a")) && ReadFile(At("a")) == kind) << kind;
    }
    ::alarm(0);
    fs::remove_all(trash.parent_path());
    Trash(In("a"));
    EXPECT_TRUE(fs::exists(At("a")) && fs::is_empty(Data()));
    fs::create_directory(trash.parent_path());
    EXPECT_TRUE(!CanPutBack("none") && fs::is_empty(trash.parent_path()));
    Trash(In("a"));
    EXPECT_TRUE(fs::exists(trash / "a") && PutBack(InTrash("a")) && fs::exists(At("a")));
}

} // namespace
} // namespace Vellox::FileNames
