#include "trash/catalogue.h"

#include <sys/resource.h>

#include <climits>
#include <csignal>
#include <ctime>
#include <fstream>

#include "support/scratch.h"

namespace Vellox {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

class CatalogueTest : public ScratchTest {
protected:
    static std::string Number(std::int64_t value, std::size_t size) {
        std::string bytes;
        for (std::size_t index = 0; index < size; ++index)
            bytes += static_cast<char>(value >> (8 * index));
        return bytes;
    }
    static std::string Text(const std::string& text) { return Number(std::ssize(text) + 1, 4) + text + '\0'; }
    static std::string Record(const std::string& key, std::int64_t time, const std::string& restorePath) {
        return Text(key) + Number(time, 8) + Text(restorePath);
    }
    static std::string File(std::int64_t version, std::int64_t count, const std::string& records) {
        return Number(version, 4) + Number(count, 4) + records;
    }
    // The number behind the name in a file of /proc.
    static long long Reading(const char* file, const std::string& name) {
        std::ifstream words(file);
        long long value = -1;
        for (std::string word; words >> word && word != name;) {
        }
        words >> value;
        return value;
    }
    std::string Saved() {
        catalogue.Save();
        return ReadFile(At(".trash.db"));
    }
    std::string LoadedAndSaved(const std::string& content) {
        WriteFile(At(".trash.db"), content);
        catalogue.Load(In(""));
        return Saved();
    }
    bool Knows(const std::string& key) {
        std::string restorePath;
        return catalogue.FindRestorePath(key, restorePath);
    }
    TrashCatalogue catalogue;
    const std::string one = Record("1", 1, "r1");
    const std::string two = Record("2", 2, "r2");
    const std::string all = one + two + Record("3", 3, "r3");
};

TEST_F(CatalogueTest, KeepsItsFormatToTheByte) {
    const std::string example = "\2\0\0\0\1\0\0\0\x0F\0\0\0T:\\Trash\\a.wav\0\x78\x56\x34\x12\x6F\x5A\xDC\1\t\0\0\0D:\\a.wav\0"s;
    const std::string rest = Record("abc", 3, "") + Record("b", 4, "") + Record("b\x7F", 5, "") + Record("\x80", 6, "r");
    const std::string damaged = Number(5, 4) + "ab\0cd"s + Number(9, 8) + Number(3, 4) + "xyz";
    const std::string sizeless = Number(0, 4) + Number(8, 8) + Number(-7, 4);
    const std::string old = Text("k") + Number(5, 8);
    const std::string upgraded = File(2, 1, Record("k", 5, ""));
    const std::string empty = "\2\0\0\0\0\0\0\0"s;
    const std::string rows[][2] = {
        // clang-format off
        {example, example}, {empty, empty}, {"", empty}, {example.substr(0, 7), empty}, {File(7, 1, one), File(2, 1, one)},
        {File(2, 6, rest + Record("B", 1, "") + Record("ab", 2, "")), File(2, 6, Record("B", 1, "") + Record("ab", 2, "") + rest)},
        {File(1, 1, old), upgraded}, {File(0, 1, old), upgraded}, {File(-9, 1, old), upgraded}, {File(2, 0, one), empty},
        {File(2, -1, one), empty}, {File(2, INT_MIN, one), empty}, {File(2, 1, one + two), File(2, 1, one)},
        {File(2, INT_MAX, one + two), File(2, 2, one + two)}, {File(2, 2, one), File(2, 1, one)},
        {File(2, 3, one + two + Record("1", 4, "x")), File(2, 2, Record("1", 4, "x") + two)},
        {File(2, 2, damaged + one), File(2, 2, one + Record("ab", 9, "xyz"))},
        {File(2, 2, sizeless + one), File(2, 2, Record("", 8, "") + one)},
        // clang-format on
    };
    EXPECT_EQ(example.size(), 48U);
    for (const auto& [loaded, saved] : rows)
        EXPECT_EQ(LoadedAndSaved(loaded), saved);
}

TEST_F(CatalogueTest, KeepsWhatStandsBeforeTheDamage) {
    const std::string whole = File(2, 3, all);
    const std::size_t beforeRestorePath = one.size() - Text("r1").size();
    for (std::size_t cut = 8; cut <= whole.size(); ++cut) {
        const std::size_t records = (cut - 8) / one.size();
        const int named = static_cast<int>(records) + 1;
        const bool isNextNamed = (cut - 8) % one.size() >= beforeRestorePath;
        const std::string kept = all.substr(0, records * one.size());
        const std::string next = isNextNamed ? Record(std::to_string(named), named, "") : "";
        EXPECT_EQ(LoadedAndSaved(whole.substr(0, cut)), File(2, isNextNamed ? named : named - 1, kept + next)) << cut;
    }
    const long long peak = Reading("/proc/self/status", "VmPeak:");
    for (std::size_t record = 0; record < 3; ++record)
        for (const std::size_t field : {std::size_t{0}, beforeRestorePath})
            for (const int size : {INT_MIN, -1, 0, 1, 4, 0x7000, INT_MAX}) {
                VELLOX_TRACE_ROW(std::to_string(record) + " " + std::to_string(field) + " " + std::to_string(size));
                std::string damaged = whole;
                const std::string before = all.substr(0, record * one.size());
                const std::string saved = LoadedAndSaved(damaged.replace(8 + before.size() + field, 4, Number(size, 4)));
                EXPECT_NE(saved.find(before), std::string::npos);
                EXPECT_TRUE(size < 0x7000 || field != 0 || saved == File(2, static_cast<int>(record), before));
                EXPECT_EQ(LoadedAndSaved(saved), saved);
            }
    EXPECT_LT(Reading("/proc/self/status", "VmPeak:"), peak + 1'000'000) << "kB";
}

TEST_F(CatalogueTest, AnswersFromMemoryUntilItIsSaved) {
    WriteFile(At(".trash.db"), File(2, 2, one + Record("none", 1, "")));
    for (const char* place : {"old", "new"})
        catalogue.Add("k", place);
    catalogue.Load(In(""));
    EXPECT_TRUE(Knows("k") && Knows("1") && !Knows("K") && !Knows("none"));
    catalogue.Remove("1");
    std::string restorePath = "#";
    EXPECT_TRUE(!catalogue.FindRestorePath("1", restorePath) && restorePath == "#");
    const std::string saved = Saved();
    EXPECT_FALSE(Knows("k"));
    const std::int64_t now = (std::time(nullptr) + 11'644'473'600) * 10'000'000;
    EXPECT_EQ(saved.substr(14 + 5), Number(now, 8).substr(5) + Text("new") + Record("none", 1, ""));
    for (const auto& [folder, path] : {std::pair("", ".trash.db"), {R"(C:\a\)", R"(C:\a\.trash.db)"},
                                       {R"(C:\a)", R"(C:\a\.trash.db)"}, {"C:/a/", R"(C:/a/\.trash.db)"}}) {
        catalogue.Load(folder);
        EXPECT_EQ(catalogue.GetFilePath(), path);
    }
}

TEST_F(CatalogueTest, LosesNothingWhenTheFileRefuses) {
    const std::string whole = File(2, 3, all);
    WriteFile(At(".trash.db"), whole);
    catalogue.Add("4", "r4");
    fs::permissions(At(".trash.db"), fs::perms::none);
    std::make_unique<AsOrdinaryUser>(), catalogue.Load(In(""));
    fs::permissions(At(".trash.db"), fs::perms::owner_all);
    EXPECT_EQ(Saved(), whole);
    QuirnFiles::CFile holder;
    holder.Open(In(".trash.db").c_str(), GENERIC_READ, 0, OPEN_EXISTING);
    catalogue.Load(In(""));
    EXPECT_TRUE(holder.Close());
    EXPECT_EQ(Saved(), whole);
    catalogue.Load(In("none"));
    EXPECT_TRUE(Saved() == whole && Knows("4") && !Knows("1"));
    catalogue.Load(In(""));
    struct rlimit limit;
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const struct rlimit full = {70, limit.rlim_max};
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &full);
    catalogue.Save();
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_TRUE(Knows("4") && Knows("3"));
    catalogue.Load(In(""));
    EXPECT_NE(Saved().find(all), std::string::npos);
    catalogue.Load(In(""));
    EXPECT_TRUE(Knows("4"));
}

TEST_F(CatalogueTest, ReadsAndWritesInLargePieces) {
    for (int item = 0; item < 10000; ++item)
        catalogue.Add(R"(C:\home\me\Trash\take)" + std::to_string(item), R"(C:\Songs\Audio\take)" + std::to_string(item));
    const auto calls = [] { return Reading("/proc/self/io", "syscr:") + Reading("/proc/self/io", "syscw:"); };
    const long long before = calls();
    for (int time = 0; time < 2; ++time) {
        catalogue.Save();
        catalogue.Load(In(""));
    }
    EXPECT_LT(calls() - before, 120);
    EXPECT_TRUE(Knows(R"(C:\home\me\Trash\take9999)"));
}

} // namespace
} // namespace Vellox
