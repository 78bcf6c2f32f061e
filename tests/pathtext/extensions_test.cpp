#include "support/scratch.h"
#include "vellox/pathtext.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using namespace std::string_literals;

TEST(Extensions, AreReadFromTheLastDot) {
    std::string rows[][3] = {
        // clang-format off
        {R"(C:\a\b.wav)", ".wav", "wav"}, {R"(C:\a\b)", R"(C:\a\b)", ""}, {R"(C:\a.d\b)", R"(C:\a.d\b)", R"(d\b)"},
        {R"(C:\a.d\b.wav)", ".wav", "wav"}, {"b.wav", ".wav", "wav"}, {"b", "b", ""}, {"", "", ""}, {".", ".", "."},
        {".wav", ".wav", "wav"}, {"b.", ".", "."}, {"b.tar.gz", ".gz", "gz"}, {R"(C:\a\)", R"(C:\a\)", ""},
        {"C:/a.d/b", ".d/b", "d/b"}, {"a\0.b"s, ".b", "b"}, {"a.b\0\\c"s, "a.b\0\\c"s, "b\0\\c"s},
        // clang-format on
    };
    for (auto& [path, extension, withoutDot] : rows) {
        VELLOX_TRACE_ROW(path);
        WideString wide(path.begin(), path.end());
        EXPECT_EQ(GetExtension(path), extension);
        EXPECT_EQ(GetExtension(wide), WideString(extension.begin(), extension.end()));
        EXPECT_EQ(GetExtensionWithoutDot(path), withoutDot);
        EXPECT_EQ(HasExtension(path), !withoutDot.empty());
    }
}

TEST(Extensions, AreReplacedForcedAndAppended) {
    const std::string x(1100, 'x');
    const std::string rows[][5] = {
        // clang-format off
        {R"(C:\a\b.txt)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.wav)", R"(C:\a\b.txt.wav)"},
        {"", "", "", "", ""}, {"b.txt", "wav", "bwav", "bwav", "b.txtwav"}, {".wav", ".wav", ".wav", ".wav", ".wav"},
        {R"(C:\a\b.WAV)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.WAV)", R"(C:\a\b.WAV)"}, {"b.", "wav", "bwav", "b.", "b."},
        {R"(C:\a\b)", ".wav", R"(C:\a\b.wav)", R"(C:\a\b.wav)", R"(C:\a\b.wav)"}, {"b.[", ".{", "b.{", "b.{", "b.[.{"},
        {"b.txt", "", "b", "b", "b.txt"},
        {R"(C:\a.d\b)", ".wav", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)", R"(C:\a.d\b.wav)"},
        {"", ".wav", ".wav", ".wav", ".wav"}, {"b.wav\0.txt"s, ".wav", "b.wav\0.wav"s, "b.wav\0.txt"s, "b.wav\0.txt"s},
        {"wav", ".wav", "wav.wav", "wav.wav", "wav.wav"}, {"b.y" + x, "." + x, "b." + x, "b." + x, "b.y" + x + "." + x},
        {"b.gz", ".tar.gz", "b.tar.gz", "b.gz", "b.gz"}, {"b.tar.gz", ".zip", "b.tar.zip", "b.tar.zip", "b.tar.gz.zip"},
        {"C:/a.d/b", ".wav", "C:/a.wav", "C:/a.wav", "C:/a.d/b.wav"}, {"b." + x, "." + x, "b." + x, "b." + x, "b." + x},
        {"b.\xC4", ".\xE4", "b.\xE4", "b.\xE4", "b.\xC4.\xE4"}, {"b.wav", ".wav\0c"s, "b.wav\0c"s, "b.wav", "b.wav"},
        // clang-format on
    };
    for (const auto& [path, extension, changed, forced, appended] : rows) {
        VELLOX_TRACE_ROW(path);
        EXPECT_EQ(ExtensionChange(path, extension), changed);
        EXPECT_EQ(ForceExtension(path, extension), forced);
        EXPECT_EQ(CheckAppendExtension(path, extension), appended);
    }
}

TEST(Extensions, TakeTextInPlaceAndBefore) {
    const std::string rows[][4] = {
        // clang-format off
        {R"(C:\a\b.txt)", "wav", R"(C:\a\b.wav)", R"(C:\a\bwav.txt)"}, {"b", "wav", "b.wav", "bwav"},
        {R"(C:\a.d\b)", "wav", R"(C:\a.wav)", R"(C:\a.d\bwav)"}, {"", "wav", ".wav", "wav"}, {"b.", "", "b.", "b."},
        {"b.txt", ".wav", "b..wav", "b.wav.txt"}, {R"(..\a\b)", "wav", "..wav", R"(..\a\bwav)"},
        {".wav", "_x", "._x", "_x.wav"}, {"b.tar.gz", "_x", "b.tar._x", "b.tar_x.gz"},
        // clang-format on
    };
    for (const auto& [path, text, changed, inserted] : rows) {
        VELLOX_TRACE_ROW(path);
        std::string buffer = path + std::string(text.size() + 2, '\0') + "##";
        EXPECT_EQ(extension_change(buffer.data(), text.c_str()), 1);
        EXPECT_TRUE(buffer.starts_with(changed + '\0') && buffer.ends_with("##")) << buffer;
        EXPECT_EQ(AppendStringBeforeExtension(path, text), inserted);
    }
}

} // namespace
} // namespace Vellox::FileNames
