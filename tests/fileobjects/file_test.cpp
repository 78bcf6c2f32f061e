#include "fileobjects/file.h"

#include <memory>

#include "fileobjects/buffered_file.h"
#include "fileobjects/exception.h"
#include "fileobjects/flush.h"
#include "platform/win32.h"
#include "support/scratch.h"
#include "vellox/fileobjects.h"

namespace QuirnFiles {
namespace {

using namespace Vellox::Testing;

constexpr std::uint32_t readWrite = GENERIC_READ | GENERIC_WRITE;
constexpr std::uint32_t shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;

class FileTest : public ScratchTest {
protected:
    void OpenToRead(CFile& file, const char* name) {
        file.Open(In(name).c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    }
    void OpenToWrite(CFile& file, const char* name) {
        file.Open(In(name).c_str(), readWrite, shareAll, CREATE_ALWAYS);
    }
};

TEST_F(FileTest, SaysWhenItCannotBeOpenedOrWritten) {
    static_assert(!std::is_base_of_v<std::exception, VelloxException>);
    CFile file;
    EXPECT_THROW(OpenToRead(file, "none"), VelloxException);
    EXPECT_THROW(OpenToRead(file, "."), VelloxException);
    EXPECT_THROW(OpenToWrite(file, "none/a"), VelloxException);
    file.Open(R"(C:\dev\full)", readWrite, shareAll, OPEN_EXISTING);
    EXPECT_EQ(file.Write("", 0), 0U);
    EXPECT_THROW(file.Write("abc", 3), VelloxException);
    EXPECT_TRUE(file.Close());
    WriteFile(At("a"), "abc");
    OpenToRead(file, "a");
    EXPECT_THROW(file.Write("d", 1), VelloxException);
    EXPECT_TRUE(file.Close());
    EXPECT_FALSE(file.Close());
    EXPECT_EQ(ReadFile(At("a")), "abc");
    struct OpenedException : VelloxException {
        using VelloxException::message;
        using VelloxException::VelloxException;
    };
    EXPECT_EQ(OpenedException(nullptr).message, "");
    EXPECT_EQ(OpenedException(OpenedException("text")).message, "text");
}

TEST_F(FileTest, ReadsAndSeeks) {
    WriteFile(At("a"), "0123456789");
    CFile file;
    OpenToRead(file, "a");
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(file.Seek(-3, 2), 7);
    EXPECT_EQ(file.Seek(-1, 0), -1);
    EXPECT_EQ(file.Seek(0, 3), -1);
    for (const std::int64_t remaining : {file.GetRemainingSize(), file.CFileBase::GetRemainingSize(), file.Tell() - 4})
        EXPECT_EQ(remaining, 3);
    char buffer[] = "########";
    EXPECT_EQ(file.Read(buffer, 8), 3U);
    EXPECT_STREQ(buffer, "789#####");
    EXPECT_EQ(file.Read(buffer, 8), 0U);
    EXPECT_EQ(file.Seek(-8, 1), 2);
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(file.Read(buffer, 8) == 0 && file.Tell() == -1 && file.GetRemainingSize() == 0);
}

TEST_F(FileTest, StaysOpenUntilSomeoneCloses) {
    WriteFile(At("a"), "0123456789");
    std::unique_ptr<CFileBase> clone;
    CFile other;
    {
        CFile file;
        OpenToRead(file, "a");
        clone.reset(file.Clone());
        EXPECT_EQ(clone->Seek(4, 0), 4);
        EXPECT_EQ(file.Tell(), 4);
    }
    EXPECT_THROW(OpenToWrite(other, "a"), VelloxException);
    EXPECT_EQ(ReadFile(At("a")), "0123456789");
    const std::unique_ptr<CFileBase> second(clone->Clone());
    EXPECT_TRUE(clone->Close());
    char byte = '#';
    EXPECT_TRUE(second->Read(&byte, 1) == 0 && byte == '#');
    EXPECT_THROW(second->Write("a", 1), VelloxException);
    OpenToWrite(other, "a");
    EXPECT_TRUE(fs::is_empty(At("a")));
    EXPECT_TRUE(other.Flush() && other.Close() && !other.Flush());
}

TEST_F(FileTest, IsFlushedWhereTheSystemFlushes) {
    const struct {
        std::uint32_t platform, major, minor;
        std::int32_t expected;
    } rows[] = {
        // clang-format off
        {1, 4, 9, 0}, {1, 4, 10, 2}, {1, 4, 89, 2}, {1, 4, 90, 3}, {1, 3, 0, 3}, {0, 5, 0, 3}, {3, 10, 0, 3},
        {2, 4, 90, 1}, {2, 5, 0, 4}, {2, 5, 1, 5}, {2, 5, 2, 5}, {2, 6, 0, 6}, {2, 6, 1, 7}, {2, 6, 2, 8},
        {2, 6, 3, 9}, {2, 6, 4, 9}, {2, 7, 0, 10}, {2, 10, 0, 10},
        // clang-format on
    };
    for (const auto& row : rows)
        EXPECT_EQ(ClassifyOsVersion(row.platform, row.major, row.minor), row.expected) << row.major << '.' << row.minor;
    const HANDLE file = ::CreateFileW(u"a", readWrite, shareAll, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(VelloxFlushFileBuffers(file), 1);
    ::CloseHandle(file);
    EXPECT_TRUE(VelloxFlushFileBuffers(file) == 0 && VelloxFlushFileBuffers(nullptr) == 0);
}

TEST_F(FileTest, PassesItsBufferWholeAtEverySize) {
    for (const std::size_t size : {1UL, fileBufferSize - 1, fileBufferSize, fileBufferSize + 1, 2 * fileBufferSize + 1}) {
        VELLOX_TRACE_ROW(std::to_string(size));
        std::string content(size, '\0');
        for (std::size_t index = 0; index < size; ++index)
            content[index] = static_cast<char>(index % 251);
        CFile file;
        OpenToWrite(file, "a");
        BufferedWriter writer(file);
        for (std::size_t done = 0; done < size; done += 1000)
            writer.Write(content.data() + done, std::min<std::size_t>(size - done, 1000));
        writer.Finish();
        EXPECT_TRUE(ReadFile(At("a")) == content);
        file.Seek(0, 0);
        BufferedReader reader(file);
        std::string read(size + 5, '#');
        EXPECT_EQ(reader.Read(read.data(), 1), 1U);
        EXPECT_EQ(reader.Remaining(), size - 1);
        EXPECT_EQ(reader.Read(read.data() + 1, size + 4), size - 1);
        EXPECT_TRUE(read == content + "#####" && !reader.Failed());
        file.Seek(0, 0);
        BufferedReader failing(file);
        file.Close();
        for (int attempt = 0; attempt < 2; ++attempt)
            EXPECT_TRUE(failing.Read(read.data(), 1) == 0 && failing.Failed() && failing.Remaining() == 0);
    }
}

} // namespace
} // namespace QuirnFiles
