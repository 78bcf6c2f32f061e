#include "vellox/trash.h"

#include <algorithm>
#include <climits>
#include <ctime>
#include <optional>
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

TEST_F(CatalogueTest, LosesNothingWhenTheFileRefuses) {
    for (const char* key : {"", "3", "4"})
        catalogue.Add(key, key);
    MakeLink("/dev/full", file);
    for (const auto& [folder, onlyOn] : {std::pair("none", everywhere), std::pair(".", withLinks)}) {
        catalogue.Load(In(HoldsHere(onlyOn) ? folder : "none"));
        catalogue.Save();
        EXPECT_TRUE(Knows("3") && Knows("4") && !Knows("")) << folder;
    }
    fs::remove(file);
    const std::string torn = whole.substr(0, whole.size() - 1);
    WriteFile(file, torn);
    QuirnFiles::CFile holder;
    holder.Open(".trash.db", GENERIC_READ, 0, OPEN_EXISTING);
    catalogue.Load(In(""));
    EXPECT_TRUE(holder.Close() && Saved() == torn && Knows("4"));
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
    const std::string before = ReadFile("/proc/self/io");
    EXPECT_TRUE(Repaired(File(2, 10000, records)) == File(2, 10000, records));
    const std::string after = ReadFile("/proc/self/io");
    const auto count = [](const std::string& io, std::size_t place) { return std::stoi(io.substr(place + 7)); };
    for (const char* calls : {"syscr: ", "syscw: "})
        EXPECT_LT(count(after, after.find(calls)) - count(before, before.find(calls)), 200) << calls;
}

class TrashTest : public ScratchTest {
protected:
    TrashTest() {
        if (GetTrashFolderPath() != Win32(trash))
            throw std::logic_error("not a trash of the test's own: " + GetTrashFolderPath());
        CanPutBack(""); // writes what another test left in memory
        WriteFile(trash / ".trash.db", "");
        WriteFile(At("file"), "old");
        fs::create_directory(At("folder"));
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
    const std::pair<const char*, const char*> rows[] = {{"a.wav", everywhere},
                                                        {"Canci\u00F3n \u00F1.wav", everywhere},
                                                        {"Song", everywhere},
                                                        {"empty", everywhere},
                                                        {"Canci\u00F3n \u00F1.Song", withoutCodePage},
                                                        {"to folder", withLinks},
                                                        {"dangling", withLinks},
                                                        {"*", withLinks}};
    for (const fs::path& place : {At("place"), OtherVolume() / "place"}) {
        for (const char* name : {"a.wav", "Canci\u00F3n \u00F1.wav", "empty/x"})
            WriteFile(place / Utf8Path(name), name);
        fs::current_path(place);
        fs::remove("empty/x");
        for (const fs::path& folder : {Utf8Path("Song"), Utf8Path("Canci\u00F3n \u00F1.Song")}) {
            WriteFile(place / folder / "sub/b", "b");
            WriteFile(place / folder / "locked", "a");
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
        // clang-format on
    };
    for (const auto& [path, item, name, numbered, onlyOn] : rows) {
        VELLOX_TRACE_ROW(path);
        if (!HoldsHere(onlyOn))
            continue;
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

TEST_F(TrashTest, KeepsAnItemOfTheCataloguesNameApart) {
    fs::remove(trash / ".trash.db");
    WriteFile(At("x/.trash.db"), "precious");
    Trash(In("x/.trash.db"));
    EXPECT_TRUE(PutBack(InTrash(".trash1.db")) && ReadFile(At("x/.trash.db")) == "precious");
    EXPECT_FALSE(PutBack(InTrash(".trash.db")));
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
    MakeLink(OtherVolume(), trash);
    Trash(Win32(trash.parent_path()));
    EXPECT_TRUE(fs::is_symlink(trash));
}

TEST_F(TrashTest, TouchesNothingAtATakenPlace) {
    for (const fs::path& place : {At("place"), OtherVolume()})
        for (const char* content : {"a", "a/b"})
            for (const char* occupant : {"file", "folder", "link"}) {
                if (!fs::exists(fs::symlink_status(At(occupant))))
                    continue; // no links here
                VELLOX_TRACE_ROW(place.string() + content + occupant);
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

TEST_F(TrashTest, LeavesTheSourceWholeWithoutAWholeCopy) {
    if (!HoldsHere(withRights))
        GTEST_SKIP() << withRights;
    const fs::path place = OtherVolume();
    for (const char* file : {"caf\xE9/a", "caf\u00E9/a", "caf\uFFFD/a", "shut/a", "shut/b"})
        WriteFile(place / file, file);
    WriteFile(trash / "caf\u00E9/a", "of the same name");
    for (const fs::path& folder : {trash, place / "shut"})
        fs::permissions(folder, fs::perms::all);
    fs::permissions(place / "shut/b", fs::perms::none);
    const std::string before = Describe(Data()) + Describe(place);
    for (const char* name : {"caf\xE9", "caf\xE9/a"})
        DeleteFileToRecycleBin(Win32(place / name), false);
    std::optional<AsOrdinaryUser> user(std::in_place);
    for (const char* name : {"shut", "shut/b"})
        DeleteFileToRecycleBin(Win32(place / name), false);
    user.reset();
    EXPECT_EQ(Describe(Data()) + Describe(place), before);
}

TEST_F(TrashTest, MovesWithoutItsCatalogue) {
    MakeFifo(At("fifo"));
    for (const char* kind : {"fifo", "folder", "link"}) {
        if (!fs::exists(fs::symlink_status(At(kind))))
            continue; // only a folder can be made here
        fs::remove(trash / ".trash.db");
        fs::rename(At(kind), trash / ".trash.db");
        WriteFile(At("a"), kind);
        Trash(In("a"));
        EXPECT_TRUE(CanPutBack(InTrash("a")) && !fs::exists(At("a"))) << kind;
        fs::remove(trash / ".trash.db");
        EXPECT_TRUE(PutBack(InTrash("a")) && ReadFile(At("a")) == kind) << kind;
    }
}

} // namespace
} // namespace Vellox::FileNames
