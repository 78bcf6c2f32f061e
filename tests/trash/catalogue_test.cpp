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

std::string Number(std::int64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t index = 0; index < size; ++index)
        bytes += static_cast<char>(value >> (8 * index));
    return bytes;
}

std::string Text(const std::string& text) {
    return Number(static_cast<std::int64_t>(text.size()) + 1, 4) + text + '\0';
}

std::string Record(const std::string& key, std::int64_t time, const std::string& restorePath) {
    return Text(key) + Number(time, 8) + Text(restorePath);
}

std::string File(std::int64_t version, std::int64_t count, const std::string& records) {
    return Number(version, 4) + Number(count, 4) + records;
}

// The number on the line of a file in /proc that begins with the name.
long long Reading(const char* file, const std::string& name) {
    std::ifstream lines(file);
    for (std::string word; lines >> word;)
        if (long long value = 0; word == name && lines >> value)
            return value;
    return -1;
}

class CatalogueTest : public ScratchTest {
protected:
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
    const std::string three = Record("3", 3, "r3");
    const std::string whole = File(2, 3, one + two + three);
};

TEST_F(CatalogueTest, KeepsItsFormatToTheByte) {
    const std::string example("\2\0\0\0\1\0\0\0\x0F\0\0\0T:\\Trash\\a.wav\0\x78\x56\x34\x12\x6F\x5A\xDC\1\t\0\0\0D:\\a.wav\0",
                              48);
    const std::string ordered = Record("B", 1, "") + Record("ab", 2, "") + Record("abc", 3, "") + Record("b", 4, "") +
                                Record("b\x7F", 5, "") + Record("\x80", 6, "") + Record("\xFF", 7, "");
    const std::string mixed = Record("\xFF", 7, "") + Record("b", 4, "") + Record("B", 1, "") + Record("abc", 3, "") +
                              Record("\x80", 6, "") + Record("ab", 2, "") + Record("b\x7F", 5, "");
    const std::string withNul = Number(5, 4) + "ab\0cd"s + Number(9, 8) + Number(3, 4) + "xyz";
    const std::string sizeless = Number(0, 4) + Number(8, 8) + Number(-7, 4);
    const std::string old = Text("k") + Number(5, 8);
    const std::string empty = File(2, 0, "");
    const std::string rows[][2] = {
        // clang-format off
        {example, example}, {empty, empty}, {"", empty}, {example.substr(0, 7), empty}, {File(2, 7, mixed), File(2, 7, ordered)},
        {File(7, 1, one), File(2, 1, one)}, {File(1, 1, old), File(2, 1, Record("k", 5, ""))},
        {File(0, 1, old), File(2, 1, Record("k", 5, ""))}, {File(-9, 1, old), File(2, 1, Record("k", 5, ""))},
        {File(2, 0, one), empty}, {File(2, -1, one), empty}, {File(2, INT_MIN, one), empty}, {File(2, 1, one + two), File(2, 1, one)},
        {File(2, 2, one), File(2, 1, one)}, {File(2, INT_MAX, one + two), File(2, 2, one + two)},
        {File(2, 3, one + two + Record("1", 4, "x")), File(2, 2, Record("1", 4, "x") + two)},
        {File(2, 2, withNul + one), File(2, 2, one + Record("ab", 9, "xyz"))},
        {File(2, 2, sizeless + one), File(2, 2, Record("", 8, "") + one)},
        // clang-format on
    };
    EXPECT_EQ(Saved(), empty);
    for (const auto& [loaded, saved] : rows)
        EXPECT_EQ(LoadedAndSaved(loaded), saved);
}

TEST_F(CatalogueTest, KeepsWhatStandsBeforeTheDamage) {
    for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
        const std::size_t keptWhole = cut < 8 ? 0 : (cut - 8) / one.size();
        const bool keepsNext = keptWhole < 3 && cut >= 8 + keptWhole * one.size() + Text("1").size() + 8;
        std::string kept = (one + two + three).substr(0, keptWhole * one.size());
        if (keepsNext)
            kept += Record(std::to_string(keptWhole + 1), static_cast<std::int64_t>(keptWhole) + 1, "");
        EXPECT_EQ(LoadedAndSaved(whole.substr(0, cut)), File(2, static_cast<int>(keptWhole) + keepsNext, kept)) << cut;
    }
    const long long peak = Reading("/proc/self/status", "VmPeak:");
    for (const std::size_t record : {0U, 1U, 2U})
        for (const std::size_t field : {std::size_t{0}, Text("1").size() + 8})
            for (const int size : {INT_MIN, -1, 0, 1, 4, 0x7000, INT_MAX}) {
                VELLOX_TRACE_ROW(std::to_string(record) + " " + std::to_string(field) + " " + std::to_string(size));
                std::string damaged = whole;
                damaged.replace(8 + record * one.size() + field, 4, Number(size, 4));
                const std::string saved = LoadedAndSaved(damaged);
                const std::string before = (one + two + three).substr(0, record * one.size());
                EXPECT_NE(saved.find(before), std::string::npos);
                if (size > 0x1000 && field == 0)
                    EXPECT_EQ(saved, File(2, static_cast<int>(record), before));
                EXPECT_EQ(LoadedAndSaved(saved), saved);
            }
    EXPECT_LT(Reading("/proc/self/status", "VmPeak:") - peak, 1 << 20);
}

TEST_F(CatalogueTest, AnswersFromMemoryUntilItIsSaved) {
    std::string restorePath = "#";
    LoadedAndSaved(File(2, 2, one + Record("none", 1, "")));
    const std::time_t before = std::time(nullptr);
    for (const char* place : {"old", "new"})
        catalogue.Add("k", place);
    EXPECT_FALSE(Knows("1"));
    catalogue.Load(In("."));
    catalogue.Remove("2");
    EXPECT_TRUE(Knows("k") && Knows("1") && !Knows("K") && !Knows("none"));
    EXPECT_FALSE(catalogue.FindRestorePath("2", restorePath));
    EXPECT_EQ(restorePath, "#");
    const std::string saved = Saved();
    EXPECT_FALSE(Knows("k"));
    const std::size_t record = saved.find(Text("k"));
    EXPECT_EQ(saved.substr(record + 14), Text("new") + Record("none", 1, ""));
    std::int64_t ticks = 0;
    for (std::size_t index = 14; index-- > 6;)
        ticks = ticks * 256 + static_cast<unsigned char>(saved[record + index]);
    EXPECT_TRUE(ticks / 10'000'000 - 11'644'473'600 >= before && ticks / 10'000'000 - 11'644'473'600 <= before + 60);
    for (const auto& [folder, path] : {std::pair("", ".trash.db"), {R"(C:\a\)", R"(C:\a\.trash.db)"},
                                       {R"(C:\a)", R"(C:\a\.trash.db)"}, {"C:/a/", R"(C:/a/\.trash.db)"}}) {
        catalogue.Load(folder);
        EXPECT_EQ(catalogue.GetFilePath(), path);
    }
}

TEST_F(CatalogueTest, LosesNothingWhenTheFileRefuses) {
    WriteFile(At(".trash.db"), whole);
    catalogue.Add("4", "r4");
    {
        fs::permissions(At(".trash.db"), fs::perms::none);
        const AsOrdinaryUser user;
        catalogue.Load(In(""));
    }
    fs::permissions(At(".trash.db"), fs::perms::owner_all);
    EXPECT_EQ(Saved(), whole);
    QuirnFiles::CFile holder;
    holder.Open(In(".trash.db").c_str(), GENERIC_READ, 0, OPEN_EXISTING);
    catalogue.Load(In(""));
    EXPECT_TRUE(holder.Close() && Knows("4") && !Knows("1"));
    EXPECT_EQ(Saved(), whole);
    catalogue.Load(In("none"));
    catalogue.Save();
    EXPECT_TRUE(Knows("4"));
    struct rlimit limit;
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const struct rlimit full = {20, limit.rlim_max};
    ::signal(SIGXFSZ, SIG_IGN);
    catalogue.Load(In(""));
    ::setrlimit(RLIMIT_FSIZE, &full);
    catalogue.Save();
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::signal(SIGXFSZ, SIG_DFL);
    EXPECT_TRUE(Knows("4") && Knows("3"));
    EXPECT_NE(Saved().find(whole.substr(8)), std::string::npos);
    catalogue.Load(In(""));
    EXPECT_TRUE(Knows("4") && Knows("3"));
}

TEST_F(CatalogueTest, ReadsAndWritesInLargePieces) {
    for (int item = 0; item < 10000; ++item)
        catalogue.Add(R"(C:\home\me\Trash\take)" + std::to_string(item), R"(C:\Songs\Demo\Audio\take)" + std::to_string(item));
    const auto calls = [] { return Reading("/proc/self/io", "syscr:") + Reading("/proc/self/io", "syscw:"); };
    const long long before = calls();
    const std::string saved = Saved();
    catalogue.Load(In(""));
    catalogue.Save();
    if (before < 0)
        GTEST_SKIP() << "the kernel does not count calls";
    EXPECT_LT(calls() - before, 400);
    EXPECT_GT(saved.size(), 1'000'000U);
}

} // namespace
} // namespace Vellox
