#include "vellox/trash.h"

#include <algorithm>
#include <climits>
#include <ctime>
#include <stdexcept>

#include "support/scratch.h"
#include "trash/catalogue.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

class CatalogueTest : public ScratchTest {
protected:
    static std::string Bytes(auto value) { return {reinterpret_cast<const char*>(&value), sizeof value}; }
    static std::string Text(const std::string& text) { return Bytes(static_cast<int>(text.size()) + 1) + text + '\0'; }
    static std::string Record(auto key, long long at, auto to) { return Text(key) + Bytes(at) + Text(to); }
    static std::string File(int version, int count, std::string all) { return Bytes(version) + Bytes(count) + all; }
    std::string Saved() {
        catalogue.Save();
        return ReadFile(file);
    }
    std::string Repaired(const std::string& content) {
        WriteFile(file, content);
        catalogue.Load(In(""));
        return Saved();
    }
    bool Knows(const std::string& key, std::string place = "") { return catalogue.FindRestorePath(key, place); }

    TrashCatalogue catalogue;
    const fs::path file = At(".trash.db");
    const std::string one = Record("1", 1, "r1");
    const std::string two = Record("2", 2, "r2");
    const std::string all = one + two + Record("3", 3, "r3");
    const std::string whole = File(2, 3, all);
};

TEST_F(CatalogueTest, KeepsItsFormatToTheByte) {
    const std::string empty = "\2\0\0\0\0\0\0\0"s;
    const auto example = "\2\0\0\0\1\0\0\0\17\0\0\0T:\\Trash\\a.wav\0xV4\x12oZ\xDC\1\t\0\0\0D:\\a.wav\0"s;
    const std::string first = Record("B", 1, "") + Record("ab", 2, "") + Record("abc", 3, "");
    const std::string last = Record("b", 4, "r") + Record("b\x7F", 5, "") + Record("\x80", 6, "");
    const std::string old = Text("k") + Bytes(5LL);
    const std::string upgraded = File(2, 1, Record("k", 5, ""));
    const std::string rows[][2] = {
        // clang-format off
        {example, example}, {example.substr(0, 7), empty}, {File(1, 1, old), upgraded}, {File(-9, 1, old), upgraded},
        {"", empty}, {File(2, 2, Bytes(0) + Bytes(8LL) + Bytes(-7) + one), File(2, 2, Record("", 8, "") + one)},
        {File(7, 1, one), File(2, 1, one)}, {File(2, INT_MIN, one), empty}, {File(2, 1, one + two), File(2, 1, one)},
        {File(2, 6, last + first), File(2, 6, first + last)}, {File(2, 9, one + Bytes(INT_MAX) + two), File(2, 1, one)},
        {File(2, 3, one + two + Record("1", 4, "x")), File(2, 2, Record("1", 4, "x") + two)},
        {File(2, 1, Bytes(5) + "ab\0cd"s + Bytes(9LL) + Bytes(3) + "xyz"), File(2, 1, Record("ab", 9, "xyz"))},
        // clang-format on
    };
    for (const auto& [content, repaired] : rows)
        EXPECT_EQ(Repaired(content), repaired);
    for (const char* place : {"old", "new"})
        catalogue.Add("k", place);
    // The upper bytes of the time change once in a day.
    const long long now = (std::time(nullptr) + 11'644'473'600) * 10'000'000;
    EXPECT_EQ(Saved().substr(19), Bytes(now).substr(5) + Text("new"));
}

TEST_F(CatalogueTest, KeepsWhatStandsBeforeTheDamage) {
    const std::size_t beforePlace = one.size() - Text("r1").size();
    for (std::size_t cut = 8; cut <= whole.size(); ++cut) {
        const int complete = static_cast<int>((cut - 8) / one.size());
        const bool keepsNext = (cut - 8) % one.size() >= beforePlace;
        const std::string next = keepsNext ? Record(std::to_string(complete + 1), complete + 1, "") : "";
        const std::string records = all.substr(0, cut - 8 - (cut - 8) % one.size()) + next;
        EXPECT_EQ(Repaired(whole.substr(0, cut)), File(2, complete + keepsNext, records)) << cut;
    }
    for (const std::size_t field : {std::size_t{0}, one.size(), 2 * one.size(), beforePlace, one.size() + beforePlace})
        for (const int size : {INT_MIN, -1, 0, 1, 4, 0x7000, INT_MAX}) {
            const std::string before = all.substr(0, field - field % one.size());
            const std::string repaired = Repaired(std::string(whole).replace(8 + field, 4, Bytes(size)));
            EXPECT_NE(repaired.find(before), std::string::npos) << field << ' ' << size;
            EXPECT_EQ(Repaired(repaired), repaired) << field << ' ' << size;
        }
}

TEST_F(CatalogueTest, WaitsForAFileThatSomeoneHoldsAndMendsATornOne) {
    const std::string mixed = File(2, 3, one + Record("4", 4, "r4") + Record("3", 3, "r3"));
    const std::string torn = mixed.substr(0, mixed.size() - 1);
    for (const char* key : {"", "3", "4"})
        catalogue.Add(key, key);
    WriteFile(file, torn);
    QuirnFiles::CFile holder;
    holder.Open(".trash.db", GENERIC_READ, 0, OPEN_EXISTING);
    catalogue.Load(In(""));
    EXPECT_TRUE(holder.Close() && Saved() == torn && Knows("3") && Knows("4") && !Knows(""));
    Repaired(torn);
    catalogue.Load(In(""));
    EXPECT_TRUE(Knows("1") && Knows("3") && Knows("4"));
}

TEST_F(CatalogueTest, ReadsAndWritesInLargePieces) {
    if (!HoldsHere("linux: "))
        GTEST_SKIP() << "Wine does not count a process's reads and writes";
    std::string records;
    for (int item = 10000; item < 20000; ++item)
        records += Record(R"(C:\home\me\Trash\take)" + std::to_string(item), item, R"(C:\Songs\Audio\take)");
    const auto calls = [] {
        const std::string io = ReadFile("/proc/self/io");
        return std::stoi(io.substr(io.find("syscr: ") + 7)) + std::stoi(io.substr(io.find("syscw: ") + 7));
    };
    const int before = calls();
    EXPECT_TRUE(Repaired(File(2, 10000, records)) == File(2, 10000, records));
    EXPECT_LT(calls() - before, 400);
}

class TrashTest : public ScratchTest {
protected:
    TrashTest() {
        if (GetTrashFolderPath() != Win32(trash))
            throw std::logic_error("not a trash of the test's own: " + GetTrashFolderPath());
        CanPutBack(""); // writes what another test left in memory
        WriteFile(trash / ".trash.db", "");
        Make({"file", "folder/"});
        MakeLink("nowhere", At("link"));
    }
    ~TrashTest() override { RemoveFolder(Data()); }
    static void Trash(const std::string& path) { DeleteFileToRecycleBin(path, true); }
    fs::path Data() const { return trash.parent_path().parent_path(); }
    std::string InTrash(const std::string& name) const { return Win32(trash) + '\\' + name; }
    // How many entries stand beside the catalogue.
    std::ptrdiff_t Items() const { return std::distance(fs::directory_iterator(trash), {}) - 1; }
    const fs::path trash = MakeTrash();
};

TEST_F(TrashTest, GivesBackWhatItTookFromAnyVolume) {
    const std::string rows[][2] = {
        // clang-format off
        {"a.wav"}, {".vellox-move1"}, {"Canci\u00F3n \u00F1.wav"}, {"Song"}, {"empty"}, {"Canci\u00F3n \u00F1.Song", withoutCodePage},
        {"to folder", withLinks}, {"dangling", withLinks}, {"*", withLinks},
        // clang-format on
    };
    for (const fs::path& place : {At("place"), OtherVolume() / "place"}) {
        fs::create_directory(place);
        fs::current_path(place);
        Make({"a.wav", ".vellox-move1", "Canci\u00F3n \u00F1.wav", "empty/"});
        for (const std::string name : {"Song", "Canci\u00F3n \u00F1.Song"}) {
            const fs::path folder = Utf8Path(name);
            Make({name + "/sub/b", name + "/locked"});
            MakeFifo(folder / "fifo");
            MakeLink("nowhere", folder / "link");
            fs::permissions(folder / "sub", fs::perms(0710));
            fs::permissions(folder / "locked", fs::perms(0440));
        }
        MakeLink("a.wav", "*");
        MakeLink("nowhere", "dangling");
        MakeLink("Song", "to folder");
        std::vector<fs::path> entries(fs::recursive_directory_iterator("."), {});
        std::for_each(entries.rbegin(), entries.rend(), MakeOld);
        const std::string before = Describe(".");
        for (const auto& [name, onlyOn] : rows) {
            if (!HoldsHere(onlyOn))
                continue;
            Trash(Win32(place) + "\\" + name);
            EXPECT_TRUE(Items() == 1 && !fs::exists(fs::symlink_status(Utf8Path(name)))) << name;
            EXPECT_TRUE(PutBack(InTrash(name)) && !PutBack(InTrash(name))) << name;
        }
        EXPECT_EQ(Describe("."), before);
        for (const fs::path& entry : entries)
            EXPECT_TRUE(IsOld(entry) || (fs::is_directory(entry) && !HoldsHere(withFolderTimes))) << entry;
    }
}

TEST_F(TrashTest, NumbersNamesOfAnySpelling) {
    const std::string rows[][5] = {
        // clang-format off
        {In("a.b.wav"), "a.b.wav", "a.b.wav", "a.b1.wav"}, {In("sub/README"), "sub/README", "README", "README1"},
        {In(".cfg"), ".cfg", ".cfg", ".cfg1"}, {".\\d ", "d ", "d ", "d 1", withAnyName},
        {"C:c.wav", "c.wav", "c.wav", "c1.wav"}, {"My.Song\\\\", "My.Song", "My.Song", "My1.Song"},
        {In("f/../g.1."), "g.1.", "g.1.", "g.11.", withAnyName}, {"sub/b.wav", "sub/b.wav", "b.wav", "b1.wav"},
        {"caf\xE9.wav", "caf\xE9.wav", "caf\xE9.wav", "caf\xE9" "1.wav", withoutCodePage},
        {In("x/.trash.db"), "x/.trash.db", ".trash1.db", ".trash2.db"},
        // clang-format on
    };
    for (const auto& [path, item, name, numbered, onlyOn] : rows) {
        SCOPED_TRACE(path);
        if (!HoldsHere(onlyOn))
            continue;
        fs::remove(trash / ".trash.db");
        const fs::path file = path.back() == '\\' ? At(item) / "a" : At(item);
        for (const char* content : {"first", "second"}) {
            WriteFile(file, content);
            Trash(path);
        }
        EXPECT_TRUE(Items() == 2 && PutBack(InTrash(numbered)) && ReadFile(file) == "second");
        fs::remove_all(At(item));
        EXPECT_TRUE(PutBack(InTrash(name)) && ReadFile(file) == "first");
    }
    const std::string before = Describe(".");
    for (const char* path : {"", ".", "..", "C:", "C:\\", "/", "C:..", "//srv/share/", "//srv", R"(\\s\t)", R"(a\..)"})
        Trash(path);
    EXPECT_TRUE(Describe(".") == before && fs::file_size(trash / ".trash.db") == 8);
}

TEST_F(TrashTest, RemembersEveryItem) {
    fs::remove_all(trash);
    EXPECT_TRUE(!CanPutBack("none") && !fs::exists(trash));
    WriteFile(At("x/a"), "a");
    Trash(In("x/a"));
    const std::string catalogue = ReadFile(trash / ".trash.db");
    for (const char* name : {"b", "c"})
        DeleteFileToRecycleBin(In(name), false);
    EXPECT_EQ(ReadFile(trash / ".trash.db"), catalogue);
    DeleteFileToRecycleBin(InTrash(".trash.db"), false);
    EXPECT_TRUE(CanPutBack(InTrash("a")) && PutBack(InTrash(".trash1.db")) == false);
    fs::remove(trash / ".trash1.db");
    MakeLink(trash.parent_path(), At("home"));
    for (const fs::path& path : {trash, trash.parent_path(), At("home/Trash"), trash / "a", trash / ".trash.db"})
        Trash(Win32(path));
    for (const char* name : {"a", "a1", "b", "c", ".trash1.db"})
        EXPECT_TRUE(CanPutBack(InTrash(name))) << name;
    for (const std::string& path : {InTrash("B"), Win32(trash) + "/b", InTrash("..\\Trash\\b")})
        EXPECT_TRUE(!CanPutBack(path) && !PutBack(path)) << path;
    EXPECT_TRUE(Items() == 2 && PutBack(InTrash("c")) && PutBack(InTrash("a1")) && !PutBack(InTrash("a1")));
    fs::remove(At("x"));
    EXPECT_TRUE(PutBack(InTrash("a")) && !CanPutBack(InTrash("a")) && fs::exists(trash / "a") && !fs::exists(At("x")));
}

TEST_F(TrashTest, LeavesWhatSomeoneUsesWithoutSharing) {
    const fs::path song = OtherVolume() / "song";
    WriteFile(song / "take", "held");
    for (const DWORD shareMode : {DWORD{0}, DWORD{FILE_SHARE_READ}})
        for (const fs::path& item : {song, song / "take"}) {
            QuirnFiles::CFile holder;
            holder.Open(Win32(song / "take").c_str(), GENERIC_READ | GENERIC_WRITE, shareMode, OPEN_EXISTING);
            Trash(Win32(item));
            EXPECT_TRUE(holder.Close() && ReadFile(song / "take") == "held" && Items() == 0) << item << shareMode;
        }
}

TEST_F(TrashTest, KeepsTheFolderThatLeadsToTheTrash) {
    if (!HoldsHere(withLinks))
        GTEST_SKIP() << withLinks;
    fs::remove_all(trash);
    MakeLink(At("hop"), trash);
    MakeLink(OtherVolume(), At("hop"));
    for (const fs::path& path : {trash, trash.parent_path(), At("hop")})
        for (const bool updateCatalogueFile : {false, true})
            DeleteFileToRecycleBin(Win32(path), updateCatalogueFile);
    EXPECT_TRUE(fs::is_symlink(trash) && fs::is_symlink("hop"));
}

TEST_F(TrashTest, TouchesNothingAtATakenPlace) {
    for (const fs::path& place : {At("place"), OtherVolume()})
        for (const char* content : {"a", "a/b"})
            for (const char* occupant : {"file", "folder", "link"}) {
                if (!fs::exists(fs::symlink_status(At(occupant))))
                    continue; // no links here
                SCOPED_TRACE(place.string() + content + occupant);
                WriteFile(place / content, "new");
                Trash(Win32(place / "a"));
                fs::copy(At(occupant), place / "a", fs::copy_options::copy_symlinks | fs::copy_options::recursive);
                const std::string before = Describe(place);
                EXPECT_TRUE(!PutBack(InTrash("a")) && CanPutBack(InTrash("a")) && Describe(place) == before);
                fs::remove(place / "a");
                EXPECT_TRUE(PutBack(InTrash("a")) && ReadFile(place / content) == "new");
                fs::remove_all(place / "a");
            }
}

// The rename and the copy would mean two files by them.
TEST_F(TrashTest, LeavesWhatHasNoOneNameOnTheOtherVolume) {
    if (!HoldsHere(withoutCodePage))
        GTEST_SKIP() << withoutCodePage;
    const fs::path place = OtherVolume();
    for (const char* file : {"caf\xE9/a", "caf\u00E9/a", "caf\uFFFD/a"})
        WriteFile(place / file, file);
    WriteFile(trash / "caf\u00E9/a", "of the same name");
    const std::string before = Describe(Data()) + Describe(place);
    for (const char* name : {"caf\xE9", "caf\xE9/a"})
        DeleteFileToRecycleBin(Win32(place / name), false);
    EXPECT_EQ(Describe(Data()) + Describe(place), before);
}

} // namespace
} // namespace Vellox::FileNames
