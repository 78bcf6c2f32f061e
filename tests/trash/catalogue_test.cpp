#include "trash/catalogue.h"

#include <climits>
#include <ctime>
#include <optional>

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

class CatalogueTest : public ScratchTest {
protected:
    // Numbers stand in the file as they do in memory.
    template <typename T> static std::string Bytes(T value) {
        return {reinterpret_cast<const char*>(&value), sizeof value};
    }
    static std::string Text(const std::string& text) { return Bytes(static_cast<int>(text.size()) + 1) + text + '\0'; }
    static std::string Record(const std::string& key, std::int64_t time, const std::string& place) {
        return Text(key) + Bytes(time) + Text(place);
    }
    static std::string File(int version, int count, const std::string& records) {
        return Bytes(version) + Bytes(count) + records;
    }
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
    const std::string example =
        "\2\0\0\0\1\0\0\0\x0F\0\0\0T:\\Trash\\a.wav\0\x78\x56\x34\x12\x6F\x5A\xDC\1\t\0\0\0D:\\a.wav\0"s;
    const std::string first = Record("B", 1, "") + Record("ab", 2, "") + Record("abc", 3, "");
    const std::string last = Record("b", 4, "r") + Record("b\x7F", 5, "") + Record("\x80", 6, "");
    const std::string old = Text("k") + Bytes(std::int64_t{5});
    const std::string upgraded = File(2, 1, Record("k", 5, ""));
    const std::string empty = "\2\0\0\0\0\0\0\0"s;
    const std::string rows[][2] = {
        // clang-format off
        {example, example}, {empty, empty}, {"", empty}, {example.substr(0, 7), empty}, {File(7, 1, one), File(2, 1, one)},
        {File(2, 6, last + first), File(2, 6, first + last)}, {File(1, 1, old), upgraded}, {File(0, 1, old), upgraded},
        {File(-9, 1, old), upgraded}, {File(2, 0, one), empty}, {File(2, INT_MIN, one), empty},
        {File(2, 1, one + two), File(2, 1, one)}, {File(2, INT_MAX, one + two), File(2, 2, one + two)},
        {File(2, 3, one + two + Record("1", 4, "x")), File(2, 2, Record("1", 4, "x") + two)},
        {File(2, 2, Bytes(5) + "ab\0cd"s + Bytes(std::int64_t{9}) + Bytes(3) + "xyz" + one), File(2, 2, one + Record("ab", 9, "xyz"))},
        {File(2, 2, Bytes(0) + Bytes(std::int64_t{8}) + Bytes(-7) + one), File(2, 2, Record("", 8, "") + one)},
        // clang-format on
    };
    for (const auto& [content, repaired] : rows)
        EXPECT_EQ(Repaired(content), repaired);
    for (const char* place : {"old", "new"})
        catalogue.Add("k", place);
    // The upper bytes of the time change once in a day.
    const std::int64_t now = (std::time(nullptr) + 11'644'473'600) * 10'000'000;
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
            EXPECT_TRUE(repaired.find(before) != std::string::npos && Repaired(repaired) == repaired)
                << field << ' ' << size;
        }
}

TEST_F(CatalogueTest, LosesNothingWhenTheFileRefuses) {
    catalogue.Add("4", "r4");
    catalogue.Add("5", "");
    WriteFile(file, whole);
    fs::permissions(file, fs::perms::none);
    std::optional<AsOrdinaryUser> user(std::in_place);
    catalogue.Load(In(""));
    user.reset();
    fs::permissions(file, fs::perms::owner_all);
    EXPECT_EQ(Saved(), whole);
    QuirnFiles::CFile holder;
    holder.Open(".trash.db", GENERIC_READ, 0, OPEN_EXISTING);
    catalogue.Load(In(""));
    holder.Close();
    EXPECT_EQ(Saved(), whole);
    fs::rename(file, At("kept"));
    fs::create_symlink("/dev/full", file);
    for (const char* folder : {"none", "."}) {
        catalogue.Load(In(folder));
        catalogue.Save();
        EXPECT_TRUE(Knows("4") && !Knows("5") && !Knows("1")) << folder;
    }
    fs::rename(At("kept"), file);
    catalogue.Load(In(""));
    EXPECT_TRUE(Saved().find(all) != std::string::npos && !Knows("4"));
}

TEST_F(CatalogueTest, ReadsAndWritesInLargePieces) {
    std::string records;
    for (int item = 10000; item < 20000; ++item)
        records += Record(R"(C:\home\me\Trash\take)" + std::to_string(item), item, R"(C:\Songs\Audio\take)");
    WriteFile(file, File(2, 10000, records));
    const std::string before = ReadFile("/proc/self/io");
    catalogue.Load(In(""));
    catalogue.Save();
    const std::string after = ReadFile("/proc/self/io");
    for (const char* calls : {"syscr: ", "syscw: "})
        EXPECT_LT(std::stoi(after.substr(after.find(calls) + 7)),
                  std::stoi(before.substr(before.find(calls) + 7)) + 50);
    EXPECT_TRUE(ReadFile(file) == File(2, 10000, records));
}

} // namespace
} // namespace Vellox
