#include <cstring>

#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

WideString Widened(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST(Extensions, AreReadFromTheLastDot) {
    const struct {
        std::string path, extension, withoutDot;
        bool hasExtension;
    } rows[] = {
        // clang-format off
        {R"(C:\a\b.wav)", ".wav", "wav", true}, {R"(C:\a\b)", R"(C:\a\b)", "", false},
        {R"(C:\a.d\b)", R"(C:\a.d\b)", R"(d\b)", true}, {R"(C:\a.d\b.wav)", ".wav", "wav", true},
        {"b.wav", ".wav", "wav", true}, {"b", "b", "", false}, {"", "", "", false}, {".wav", ".wav", "wav", true},
        {"b.", ".", ".", true}, {".", ".", ".", true}, {"b.tar.gz", ".gz", "gz", true},
        {R"(C:\a\)", R"(C:\a\)", "", false}, {"C:/a.d/b", ".d/b", "d/b", true},
        {"a\0.b"s, ".b", "b", true}, {"a.b\0c"s, ".b\0c"s, "b\0c"s, true}, {"a.b\0\\c"s, "a.b\0\\c"s, "b\0\\c"s, true},
        // clang-format on
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.path);
        std::string path = row.path;
        WideString wide = Widened(row.path);
        EXPECT_EQ(GetExtension(path), row.extension);
        EXPECT_EQ(GetExtension(wide), Widened(row.extension));
        EXPECT_TRUE(path == row.path && wide == Widened(row.path));
        EXPECT_EQ(GetExtensionWithoutDot(row.path), row.withoutDot);
        EXPECT_EQ(HasExtension(row.path), row.hasExtension);
    }
}

TEST(Extensions, AreReplacedForcedAndAppended) {
    const std::string longest = "." + std::string(48, 'x');
    const std::string longer = "." + std::string(1100, 'x');
    const struct {
        std::string path, extension, changed, forced, appended;
    } rows[] = {
        // clang-format off
        {R"(C:\a\b.txt)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.wav)", R"(C:\a\b.txt.wav)"},
        {R"(C:\a\b.WAV)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.WAV)", R"(C:\a\b.WAV)"},
        {R"(C:\a\b)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.wav)", R"(C:\a\b.wav)"},
        {R"(C:\a.d\b)", ".wav", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)"},
        {"b.txt", "wav", "bwav", "bwav", "b.txtwav"}, {"b.", "wav", "bwav", "b.", "b."},
        {"b.txt", "", "b", "b", "b.txt"}, {"", ".wav", ".wav", ".wav", ".wav"},
        {".wav", ".wav", ".wav", ".wav", ".wav"}, {"wav", ".wav", "wav.wav", "wav.wav", "wav.wav"},
        {"b.tar.gz", ".zip", "b.tar.zip", "b.tar.zip", "b.tar.gz.zip"}, {"b.gz", ".tar.gz", "b.tar.gz", "b.gz", "b.gz"},
        {"C:/a.d/b", ".wav", "C:/a.wav", "C:/a.wav", "C:/a.d/b.wav"}, {"", "", "", "", ""},
        {"b.\xC4", ".\xE4", "b.\xE4", "b.\xE4", "b.\xC4.\xE4"}, {"b.[", ".{", "b.{", "b.{", "b.[.{"},
        {"b" + longest, longest, "b" + longest, "b" + longest, "b" + longest},
        {"b" + longer, longer, "b" + longer, "b" + longer, "b" + longer},
        {"b.y" + longer.substr(1), longer, "b" + longer, "b" + longer, "b.y" + longer.substr(1) + longer},
        {"b.wav\0.txt"s, ".wav", "b.wav\0.wav"s, "b.wav\0.txt"s, "b.wav\0.txt"s},
        {"b.txt\0c"s, ".wav", "b.wav", "b.wav", "b.txt\0c.wav"s}, {"b.wav", ".wav\0c"s, "b.wav\0c"s, "b.wav", "b.wav"},
        // clang-format on
    };
    for (const auto& row : rows) {
        VELLOX_TRACE_ROW(row.path + " " + row.extension);
        EXPECT_EQ(ExtensionChange(row.path, row.extension), row.changed);
        EXPECT_EQ(ForceExtension(row.path, row.extension), row.forced);
        EXPECT_EQ(CheckAppendExtension(row.path, row.extension), row.appended);
    }
}

TEST(Extensions, TakeTextInPlaceAndBefore) {
    const std::string rows[][4] = {
        // clang-format off
        {R"(C:\a\b.txt)", "wav", R"(C:\a\b.wav)", R"(C:\a\bwav.txt)"}, {"b", "wav", "b.wav", "bwav"},
        {R"(C:\a.d\b)", "wav", R"(C:\a.wav)", R"(C:\a.d\bwav)"}, {"", "wav", ".wav", "wav"},
        {"b.txt", ".wav", "b..wav", "b.wav.txt"}, {R"(..\a\b)", "wav", "..wav", R"(..\a\bwav)"},
        {".wav", "_x", "._x", "_x.wav"}, {"b.tar.gz", "_x", "b.tar._x", "b.tar_x.gz"}, {"b.txt", "", "b.", "b.txt"},
        // clang-format on
    };
    for (const auto& [path, text, changed, inserted] : rows) {
        VELLOX_TRACE_ROW(path + " " + text);
        std::string buffer = path + std::string(1 + text.size() + 1, '\0') + "##";
        EXPECT_EQ(extension_change(buffer.data(), text.c_str()), 1);
        EXPECT_EQ(std::string(buffer.c_str()), changed);
        EXPECT_EQ(buffer.substr(path.size() + 1 + text.size() + 1), "##");
        EXPECT_EQ(AppendStringBeforeExtension(path, text), inserted);
    }
}

} // namespace
} // namespace Vellox::FileNames
