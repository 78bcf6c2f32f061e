#include <string>
#include <string_view>

#include "platform/posix/base/descriptor.h"
#include "platform/posix/base/errors.h"
#include "platform/posix/base/paths.h"
#include "platform/posix/trees/copy_tree.h"
#include "platform/posix/trees/delete.h"
#include "platform/posix/trees/nesting.h"
#include "platform/posix/trees/recycle_bin.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

std::string WithoutTrailingSeparators(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return std::string(path);
}

// Only the contents of a folder are ever copied.
bool Copy(const PosixPath& from, const PosixPath& to) {
    std::string_view source = from.View();
    if (!source.ends_with('*'))
        return Fail(ERROR_NOT_SUPPORTED);
    source.remove_suffix(1);
    if (!source.empty() && !source.ends_with('/'))
        return Fail(ERROR_NOT_SUPPORTED);
    return CopyTreeContents(source.empty() ? "." : std::string(source), WithoutTrailingSeparators(to.View()));
}

// Elsewhere the system itself holds the folder that a process stands in.
bool HoldsCurrentFolder(const std::string& path) {
    const Descriptor folder = OpenPlaceAt(AT_FDCWD, path.c_str(), Links::Refuse);
    return folder && LiesInFolder(".", folder.Get());
}

bool Run(const SHFILEOPSTRUCTW& operation) {
    const PosixPath from(operation.pFrom);
    if (!from.IsValid())
        return false;
    if (operation.wFunc == FO_DELETE) {
        const std::string path = WithoutTrailingSeparators(from.View());
        if (HoldsCurrentFolder(path))
            return Fail(ERROR_BUSY);
        return (operation.fFlags & FOF_ALLOWUNDO) != 0 ? MoveToRecycleBin(path) : DeleteTree(path);
    }
    const PosixPath to(operation.pTo);
    return to.IsValid() && Copy(from, to);
}

} // namespace

int SHFileOperationW(SHFILEOPSTRUCTW* operation) {
    return Run(*operation) ? 0 : static_cast<int>(::GetLastError());
}
