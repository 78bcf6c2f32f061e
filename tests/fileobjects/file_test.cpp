#include "fileobjects/file.h"

#include <numeric>

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
    void OpenToWrite(const char* path) { writer.Open(path, 0xC0000000, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_ALWAYS); }
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
    EXPECT_TRUE(file.Seek(-8, 1) == 2 && file.Close() && !file.Close());
    EXPECT_TRUE(file.Read(buffer, 8) == 0 && file.Tell() == -1 && file.GetRemainingSize() == 0 && !file.Flush());
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

TEST_F(FileTest, ClassifiesTheSystemsThatFlush) {
    const std::uint32_t rows[][4] = {
        // clang-format off
        {1, 4, 9, 0}, {1, 4, 10, 2}, {1, 4, 89, 2}, {1, 4, 90, 3}, {1, 3, 0, 3}, {0, 5, 0, 3}, {3, 10, 0, 3}, {2, 4, 90, 1},
        {2, 5, 0, 4}, {2, 5, 1, 5}, {2, 5, 2, 5}, {2, 6, 0, 6}, {2, 6, 1, 7}, {2, 6, 2, 8}, {2, 6, 3, 9}, {2, 6, 4, 9},
        {2, 7, 0, 10}, {2, 10, 0, 10},
        // clang-format on
    };
    for (const auto& [platform, major, minor, expected] : rows)
        EXPECT_EQ(ClassifyOsVersion(platform, major, minor), static_cast<int>(expected)) << major << '.' << minor;
}

TEST_F(FileTest, PassesThroughTheBufferWhole) {
    for (const std::size_t size : {std::size_t{1}, fileBufferSize - 1, fileBufferSize, 2 * fileBufferSize + 1}) {
        std::string content(size, '\0');
        std::string read(size + 5, '#');
        std::iota(content.begin(), content.end(), '\0');
        OpenToWrite("a");
        BufferedWriter buffered(writer);
        EXPECT_EQ(buffered.Write(content.data(), 1) + buffered.Write(content.data() + 1, size - 1), size);
        buffered.Finish();
        writer.Seek(0, 0);
        BufferedReader reader(writer);
        BufferedReader failing(writer);
        EXPECT_TRUE(reader.Read(read.data(), 1) == 1 && reader.Remaining() == size - 1) << size;
        EXPECT_TRUE(reader.Read(read.data() + 1, size + 4) == size - 1 && !reader.Failed()) << size;
        EXPECT_TRUE(read == content + "#####" && ReadFile(At("a")) == content && writer.Close()) << size;
        for (const char* attempt : {"first", "second"})
            EXPECT_TRUE(failing.Read(read.data(), 1) == 0 && failing.Failed()) << attempt;
    }
}

} // namespace
} // namespace QuirnFiles
