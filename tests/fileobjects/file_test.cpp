#include "fileobjects/file.h"

#include "fileobjects/buffered_file.h"
#include "fileobjects/exception.h"
#include "fileobjects/flush.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace QuirnFiles {
namespace {

using namespace Vellox::Testing;

class FileTest : public ScratchTest {
protected:
    void OpenToRead(const char* path) { file.Open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING); }
    void OpenToWrite(const char* path) {
        writer.Open(path, 0xC0000000, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_ALWAYS);
    }
    CFile file;
    CFile writer;
};

TEST_F(FileTest, ReadsSeeksAndRefuses) {
    char buffer[] = "########";
    WriteFile(At("a"), "0123456789");
    for (const char* path : {"none", "."})
        EXPECT_THROW(OpenToRead(path), VelloxException);
    OpenToRead("a");
    EXPECT_TRUE(file.Tell() == 0 && file.Seek(-3, 2) == 7 && file.Seek(-1, 0) == -1 && file.Seek(0, 3) == -1);
    EXPECT_TRUE(file.GetRemainingSize() == 3 && file.CFileBase::GetRemainingSize() == 3 && file.Tell() == 7);
    EXPECT_TRUE(file.Read(buffer, 8) == 3 && std::string(buffer) == "789#####" && file.Read(buffer, 8) == 0);
    EXPECT_THROW(file.Write("d", 1), VelloxException);
    EXPECT_EQ(file.Seek(-8, 1), 2);
    BufferedReader reader(file);
    EXPECT_TRUE(file.Close() && !file.Close() && !file.Flush() && file.Tell() == -1 && file.GetRemainingSize() == 0);
    for (const char* attempt : {"first", "second"})
        EXPECT_TRUE(reader.Read(buffer, 8) == 0 && reader.Failed()) << attempt;
    OpenToWrite(R"(C:\dev\full)");
    EXPECT_EQ(writer.Write("", 0), 0U);
    EXPECT_THROW(writer.Write("abc", 3), VelloxException);
    EXPECT_TRUE(writer.Close());
}

TEST_F(FileTest, StaysOpenUntilSomeoneCloses) {
    WriteFile(At("a"), "0123456789");
    OpenToRead("a");
    std::unique_ptr<CFileBase>(file.Clone()).reset();
    const std::unique_ptr<CFileBase> clone(file.Clone());
    EXPECT_TRUE(clone->Seek(4, 0) == 4 && file.Tell() == 4);
    EXPECT_THROW(OpenToWrite("a"), VelloxException);
    EXPECT_EQ(ReadFile(At("a")), "0123456789");
    char byte = '#';
    EXPECT_TRUE(clone->Close() && file.Read(&byte, 1) == 0 && byte == '#' && !file.Flush());
    EXPECT_THROW(file.Write("a", 1), VelloxException);
    OpenToWrite("a");
    EXPECT_TRUE(fs::is_empty(At("a")) && writer.Flush() && writer.Close());
}

TEST(Flush, IsAskedOfSystemsOfAClass) {
    const std::uint32_t rows[][4] = {
        // clang-format off
        {1, 4, 9, 0}, {1, 4, 10, 2}, {1, 4, 89, 2}, {1, 4, 90, 3}, {1, 3, 0, 3}, {0, 5, 0, 3}, {2, 4, 90, 1}, {2, 5, 0, 4},
        {2, 5, 1, 5}, {2, 6, 0, 6}, {2, 6, 1, 7}, {2, 6, 2, 8}, {2, 6, 3, 9}, {2, 6, 4, 9}, {2, 7, 0, 10}, {2, 10, 0, 10},
        // clang-format on
    };
    for (const auto& [platform, major, minor, expected] : rows)
        EXPECT_EQ(ClassifyOsVersion(platform, major, minor), static_cast<int>(expected)) << major << '.' << minor;
}

} // namespace
} // namespace QuirnFiles
