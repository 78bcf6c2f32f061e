#include "vellox/filesystem.h"

#include "filesystem/queries.h"
#include "frame/text.h"
#include "pathtext/join.h"
#include "platform/operations.h"

namespace Vellox::FileNames {
namespace {

constexpr WORD silent = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI;

// An empty path names nothing, least of all the current folder or the root of the drive.
void RunShell(UINT function, const WideString& from, const WideChar* to, WORD flags) {
    if (from[0] == 0 || (to != nullptr && to[0] == 0))
        return;
    SHFILEOPSTRUCTW operation = {};
    operation.wFunc = function;
    operation.pFrom = from.c_str();
    operation.pTo = to;
    operation.fFlags = flags;
    Platform::RunShellOperation(operation);
}

WORD DeletionFlags(bool showShellDialogs, bool permanently) {
    if (showShellDialogs)
        return 0;
    return permanently ? silent : static_cast<WORD>(silent | FOF_ALLOWUNDO);
}

bool BlamesAHeldOrUnreadableFile(DWORD error) {
    return error == ERROR_READ_FAULT || error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
}

// Both paths are looked at as they are after the failed copy.
CopyFileError ClassifyFailure(DWORD error, const std::string& source, const std::string& destination,
                              bool failIfExists) {
    if (BlamesAHeldOrUnreadableFile(error))
        return SourceNotReadable;
    if (!CheckFileExists(source))
        return SourceNotFound;
    if (!CheckFileExists(source)) // it was there a moment ago
        return SourceNotReadable;
    if (failIfExists && CheckFileExists(destination))
        return DestinationExists;
    return DestinationNotWritable;
}

} // namespace

bool CopyFileA(std::string source, std::string destination, bool failIfExists, CopyFileError* error) {
    const bool isCopied = ::CopyFileW(WideArgument(source).c_str(), WideArgument(destination).c_str(),
                                      static_cast<BOOL>(failIfExists)) != FALSE;
    if (!isCopied && error != nullptr)
        *error = ClassifyFailure(::GetLastError(), source, destination, failIfExists);
    return isCopied;
}

void CopyFolder(std::string source, std::string destination) {
    if (!UpToNul(source).empty())
        RunShell(FO_COPY, ShellPath(std::string(UpToNul(source)) + "\\*"), ShellPath(destination).c_str(), silent);
}

void DeleteFolderWithContents(const char* path, bool showShellDialogs, bool permanently) {
    RunShell(FO_DELETE, ShellPath(path), nullptr, DeletionFlags(showShellDialogs, permanently));
}

} // namespace Vellox::FileNames
