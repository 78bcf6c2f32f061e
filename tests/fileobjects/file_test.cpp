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
        EXPECT_THROW(OpenToRead(path), VelloxException);
    char buffer[] = "########";
    WriteFile(At("a"), "0123456789");
    OpenToRead("a");
    EXPECT_TRUE(file.Tell() == 0 && file.Seek(-3, 2) == 7 && file.Seek(-1, 0) == -1 && file.Seek(0, 3) == -1);
    EXPECT_TRUE(file.GetRemainingSize() == 3 && file.CFileBase::GetRemainingSize() == 3 && file.Tell() == 7);
    EXPECT_TRUE(file.Read(buffer, 8) == 3 && std::string(buffer) == "789#####" && file.Read(buffer, 8) == 0);
    std::unique_ptr<CFileBase>(file.Clone()).reset();
    const std::unique_ptr<CFileBase> clone(file.Clone());
    EXPECT_TRUE(clone->Seek(-8, 1) == 2 && file.Tell() == 2);
    EXPECT_THROW(OpenToWrite("a"), VelloxException);
    KeepingReader reader(file);
    EXPECT_TRUE(ReadFile(At("a")) == "0123456789" && clone->Close());
    EXPECT_TRUE(!file.Flush() && file.Tell() == -1 && file.GetRemainingSize() == 0);
    for (const char* attempt : {"first", "second"})
        EXPECT_TRUE(!reader.Have(1) && reader.Failed()) << attempt;
    EXPECT_THROW(file.Write("a", 1), VelloxException);
    OpenToWrite("a");
    EXPECT_TRUE(fs::is_empty("a") && !clone->Close() && writer.Write("", 0) == 0 && writer.Flush() && writer.Close());
}

} // namespace
} // namespace QuirnFiles
