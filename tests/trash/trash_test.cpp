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
    bool Knows(const std::string& key) {
        std::string place;
        return catalogue.FindRestorePath(key, place);
    }

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
    const std::string ascending = Record("B", 1, "") + Record("ab", 2, "") + Record("abc", 3, "");
    const std::string higher = Record("b", 4, "r") + Record("b\x7F", 5, "") + Record("\x80", 6, "");
    const std::string again = Record("1", 4, "x");
    struct Row {
        const char* name;
        std::string content, repaired;
    };
    const Row rows[] = {
        {"as it is written", example, example},
        {"version 1 has no places", File(1, 1, Text("k") + Bytes(5LL)), File(2, 1, Record("k", 5, ""))},
        {"a later version", File(7, 1, one), File(2, 1, one)},
        {"fewer records than there are", File(2, 1, one + two), File(2, 1, one)},
        {"no order", File(2, 6, higher + ascending), File(2, 6, ascending + higher)},
        {"a key twice", File(2, 3, one + two + again), File(2, 2, again + two)},
        {"sizes of none and below", File(2, 1, Bytes(0) + Bytes(8LL) + Bytes(-7)), File(2, 1, Record("", 8, ""))},
        {"a size beyond the end", File(2, 9, one + Bytes(INT_MAX) + two), File(2, 1, one)},
        {"texts with and without NUL", File(2, 1, Bytes(5) + "ab\0cd"s + Bytes(9LL) + Bytes(3) + "xyz"),
         File(2, 1, Record("ab", 9, "xyz"))},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Repaired(row.content), row.repaired) << row.name;
    for (const char* place : {"old", "new"})
        catalogue.Add("k", place);
    // The upper bytes of the time change once in a day.
    const long long now = (std::time(nullptr) + 11'644'473'600) * 10'000'000;
    EXPECT_EQ(Saved().substr(19), Bytes(now).substr(5) + Text("new"));
}

TEST_F(CatalogueTest, KeepsWhatStandsBeforeTheEndOfACutFile) {
    const std::size_t beforePlace = one.size() - Text("r1").size();
    for (std::size_t cut = 8; cut <= whole.size(); ++cut) {
        const int complete = static_cast<int>((cut - 8) / one.size());
        const bool keepsNext = (cut - 8) % one.size() >= beforePlace;
        const std::string next = keepsNext ? Record(std::to_string(complete + 1), complete + 1, "") : "";
        const std::string records = all.substr(0, cut - 8 - (cut - 8) % one.size()) + next;
        EXPECT_EQ(Repaired(whole.substr(0, cut)), File(2, complete + keepsNext, records)) << cut;
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
    EXPECT_TRUE(holder.Close());
    EXPECT_EQ(Saved(), torn) << "which could not be read";
    for (const char* key : {"3", "4"})
        EXPECT_TRUE(Knows(key)) << key;
    EXPECT_FALSE(Knows("")) << "which has no place to go back to";
    EXPECT_EQ(Repaired(torn).substr(4, 4), Bytes(4)) << "records: half a one beside the whole one";
    catalogue.Load(In(""));
    for (const char* key : {"1", "3", "4"})
        EXPECT_TRUE(Knows(key)) << key;
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
    std::vector<std::string> items = {"a.wav", ".vellox-move1", "Canci\u00F3n \u00F1.wav", "Song", "empty"};
    if (HoldsHere(withoutCodePage, "a folder with accents"))
        items.emplace_back("Canci\u00F3n \u00F1.Song");
    if (HoldsHere(withLinks, "links"))
        items.insert(items.end(), {"to folder", "dangling", "*"});
    for (const fs::path& place : {At("place"), OtherVolume() / "place"}) {
        fs::create_directory(place);
        if (!HoldsAll(place))
            continue;
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
        for (const std::string& item : items) {
            SCOPED_TRACE(Win32(place) + "\\" + item);
            Trash(Win32(place) + "\\" + item);
            EXPECT_FALSE(fs::exists(fs::symlink_status(Utf8Path(item))));
            EXPECT_EQ(Items(), 1);
            EXPECT_TRUE(PutBack(InTrash(item)));
            EXPECT_FALSE(CanPutBack(InTrash(item))) << "after PutBack";
        }
        EXPECT_EQ(Describe("."), before);
        for (const fs::path& entry : entries)
            EXPECT_TRUE(IsOld(entry) || (fs::is_directory(entry) && !HoldsHere(withFolderTimes))) << entry;
    }
}

TEST_F(TrashTest, NumbersNamesOfAnySpelling) {
    struct Row {
        std::string path, item, name, numbered;
        OnlyOn onlyOn = anywhere;
    };
    const Row rows[] = {
        {In("a.b.wav"), "a.b.wav", "a.b.wav", "a.b1.wav"},
        {In("sub/README"), "sub/README", "README", "README1"},
        {In(".cfg"), ".cfg", ".cfg", ".cfg1"},
        {"C:c.wav", "c.wav", "c.wav", "c1.wav"},
        {"1:c.wav", "1:c.wav", "1:c.wav", "1:c1.wav", OnLinux("no name on Windows has a colon")},
        {"My.Song\\\\", "My.Song", "My.Song", "My1.Song"},
        {In("f/../g.1."), "g.1.", "g.1.", "g.11.", withAnyName},
        {"caf\351.wav", "caf\351.wav", "caf\351.wav", "caf\3511.wav", withoutCodePage},
        {In("x/.trash.db"), "x/.trash.db", ".trash1.db", ".trash2.db"},
    };
    for (const Row& row : RowsHere(rows, &Row::path)) {
        SCOPED_TRACE(row.path);
        fs::remove(trash / ".trash.db");
        const fs::path file = row.path.back() == '\\' ? At(row.item) / "a" : At(row.item);
        for (const char* content : {"first", "second"}) {
            WriteFile(file, content);
            Trash(row.path);
        }
        EXPECT_EQ(Items(), 2);
        EXPECT_TRUE(PutBack(InTrash(row.numbered)));
        EXPECT_EQ(ReadFile(file), "second");
        fs::remove_all(At(row.item));
        EXPECT_TRUE(PutBack(InTrash(row.name)));
        EXPECT_EQ(ReadFile(file), "first");
    }
    const std::string before = Describe(".");
    for (const char* path :
         {"", ".", "..", "C:", "C:\\", "/", "C:..", "//srv/share/", "//srv", R"(\\s\t)", R"(a\..)"}) {
        Trash(path);
        EXPECT_EQ(fs::file_size(trash / ".trash.db"), 8U) << path << " has no name";
    }
    EXPECT_EQ(Describe("."), before);
}

TEST_F(TrashTest, RemembersEveryItem) {
    fs::remove_all(trash);
    EXPECT_FALSE(CanPutBack("none"));
    EXPECT_FALSE(fs::exists(trash)) << "made for a question";
    WriteFile(At("x/a"), "a");
    Trash(In("x/a"));
    const std::string catalogue = ReadFile(trash / ".trash.db");
    for (const char* name : {"b", "c"})
        DeleteFileToRecycleBin(In(name), false);
    EXPECT_EQ(ReadFile(trash / ".trash.db"), catalogue) << "written in a batch";
    DeleteFileToRecycleBin(InTrash(".trash.db"), false);
    EXPECT_TRUE(CanPutBack(InTrash("a")));
    EXPECT_FALSE(PutBack(InTrash(".trash1.db"))) << "over the catalogue";
    fs::remove(trash / ".trash1.db");
    MakeLink(trash.parent_path(), At("home"));
    for (const fs::path& path : {trash, trash.parent_path(), At("home/Trash"), trash / "a", trash / ".trash.db"})
        Trash(Win32(path));
    for (const char* name : {"a", "a1", "b", "c", ".trash1.db"})
        EXPECT_TRUE(CanPutBack(InTrash(name))) << name;
    for (const std::string& path : {InTrash("B"), Win32(trash) + "/b", InTrash("..\\Trash\\b")}) {
        EXPECT_FALSE(CanPutBack(path)) << path;
        EXPECT_FALSE(PutBack(path)) << path;
    }
    EXPECT_EQ(Items(), 2);
    EXPECT_TRUE(PutBack(InTrash("c"))) << "which was never there";
    EXPECT_TRUE(PutBack(InTrash("a1")));
    fs::remove(At("x"));
    EXPECT_TRUE(PutBack(InTrash("a"))) << "whose folder is gone";
    EXPECT_FALSE(CanPutBack(InTrash("a")));
    EXPECT_TRUE(fs::exists(trash / "a"));
    EXPECT_FALSE(fs::exists(At("x")));
}

TEST_F(TrashTest, LeavesWhatSomeoneUsesWithoutSharing) {
    const fs::path song = OtherVolume() / "song";
    WriteFile(song / "take", "held");
    for (const DWORD shareMode : {DWORD{0}, DWORD{FILE_SHARE_READ}})
        for (const fs::path& item : {song, song / "take"}) {
            SCOPED_TRACE(item.string() + " that shares " + std::to_string(shareMode));
            QuirnFiles::CFile holder;
            holder.Open(Win32(song / "take").c_str(), GENERIC_READ | GENERIC_WRITE, shareMode, OPEN_EXISTING);
            Trash(Win32(item));
            EXPECT_TRUE(holder.Close());
            EXPECT_EQ(ReadFile(song / "take"), "held");
            EXPECT_EQ(Items(), 0);
        }
}

TEST_F(TrashTest, KeepsTheFolderThatLeadsToTheTrash) {
    if (!HoldsHere(withLinks))
        GTEST_SKIP() << withLinks.reason;
    fs::remove_all(trash);
    MakeLink(At("hop"), trash);
    MakeLink(OtherVolume(), At("hop"));
    for (const fs::path& path : {trash, trash.parent_path(), At("hop")})
        for (const bool updateCatalogueFile : {false, true}) {
            DeleteFileToRecycleBin(Win32(path), updateCatalogueFile);
            EXPECT_TRUE(fs::is_symlink(trash)) << path;
            EXPECT_TRUE(fs::is_symlink("hop")) << path;
        }
}

TEST_F(TrashTest, TouchesNothingAtATakenPlace) {
    for (const fs::path& place : {At("place"), OtherVolume()})
        for (const char* content : {"a", "a/b"})
            for (const char* occupant : {"file", "folder", "link"}) {
                const fs::file_status standing = fs::symlink_status(At(occupant));
                if (!fs::exists(standing) || (fs::is_symlink(standing) && !HoldsAll(place)))
                    continue; // no links here
                SCOPED_TRACE(place.string() + content + occupant);
                WriteFile(place / content, "new");
                Trash(Win32(place / "a"));
                fs::copy(At(occupant), place / "a", fs::copy_options::copy_symlinks | fs::copy_options::recursive);
                const std::string before = Describe(place);
                EXPECT_FALSE(PutBack(InTrash("a")));
                EXPECT_TRUE(CanPutBack(InTrash("a")));
                EXPECT_EQ(Describe(place), before);
                fs::remove(place / "a");
                EXPECT_TRUE(PutBack(InTrash("a")));
                EXPECT_EQ(ReadFile(place / content), "new");
                fs::remove_all(place / "a");
            }
}

// The rename and the copy would mean two files by them.
TEST_F(TrashTest, LeavesWhatHasNoOneNameOnTheOtherVolume) {
    if (!HoldsHere(withoutCodePage))
        GTEST_SKIP() << withoutCodePage.reason;
    const fs::path place = OtherVolume();
    if (!HoldsAll(place))
        GTEST_SKIP();
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
