#include "fileobjects/file.h"

#include "fileobjects/buffered_file.h"
#include "fileobjects/exception.h"
#include "platform/win32.h"
#include "support/scratch.h"

namespace QuirnFiles {
namespace {

using namespace Vellox::Testing;

class FileTest : public ScratchTest {
protected:
    void OpenToRead(const char* path) { file.Open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING); }
    void OpenToWrite(const char* path) { writer.Open(path, GENERIC_READ | GENERIC_WRITE, 3, CREATE_ALWAYS); }
    CFile file;
    CFile writer;
};

TEST_F(FileTest, ReadsSeeksAndRefuses) {
    for (const char* path : {"none", "."})
        EXPECT_THROW(OpenToRead(path), VelloxException) << path;
    char buffer[] = "########";
    WriteFile(At("a"), "0123456789");
    OpenToRead("a");
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(file.Seek(-3, 2), 7);
    EXPECT_EQ(file.Seek(-1, 0), -1);
    EXPECT_EQ(file.Seek(0, 3), -1);
    EXPECT_EQ(file.GetRemainingSize(), 3);
    EXPECT_EQ(file.CFileBase::GetRemainingSize(), 3);
    EXPECT_EQ(file.Tell(), 7);
    EXPECT_EQ(file.Read(buffer, 8), 3);
    EXPECT_STREQ(buffer, "789#####");
    EXPECT_EQ(file.Read(buffer, 8), 0);
    const std::unique_ptr<CFileBase> clone(file.Clone());
    EXPECT_EQ(clone->Seek(-8, 1), 2);
    EXPECT_EQ(file.Tell(), 2) << "which a clone shares";
    EXPECT_THROW(OpenToWrite("a"), VelloxException);
    EXPECT_EQ(ReadFile(At("a")), "0123456789") << "cut by an open that failed";
    EXPECT_TRUE(clone->Close());
    EXPECT_FALSE(clone->Close());
    EXPECT_FALSE(file.Flush());
    EXPECT_EQ(file.Tell(), -1);
    EXPECT_EQ(file.GetRemainingSize(), 0);
    EXPECT_TRUE(FileContent(file).failed) << "though it looks like an empty one";
    EXPECT_THROW(file.Write("a", 1), VelloxException);
    OpenToWrite("a");
    EXPECT_TRUE(fs::is_empty("a"));
    EXPECT_EQ(writer.Write("12", 2), 2);
    EXPECT_EQ(writer.Write("", 0), 0);
    EXPECT_TRUE(writer.Flush());
    EXPECT_TRUE(writer.Close());
    EXPECT_EQ(ReadFile(At("a")), "12");
}

} // namespace
} // namespace QuirnFiles
