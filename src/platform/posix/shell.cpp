#include <string>
#include <string_view>

#include "platform/posix/errors.h"
#include "platform/posix/paths.h"
#include "platform/posix/recycle_bin.h"
#include "platform/posix/tree.h"
#include "platform/win32.h"

using namespace Vellox::Posix;

namespace {

constexpr std::string_view allEntries = "/*";

std::string WithoutTrailingSeparators(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return std::string(path);
}

bool Copy(const PosixPath& from, const PosixPath& to) {
    const std::string_view source = from.View();
    if (source != "*" && (source.size() < 2 || source.substr(source.size() - 2) != allEntries))
        return CopySingleEntry(WithoutTrailingSeparators(source), WithoutTrailingSeparators(to.View()));
    const std::string folder = source == "*" ? "." : std::string(source.substr(0, source.size() - 1));
    return CopyTreeContents(folder, WithoutTrailingSeparators(to.View()));
}

bool Run(const SHFILEOPSTRUCTW& operation) {
    const PosixPath from(operation.pFrom);
    if (!from.IsValid())
        return false;
    if (operation.wFunc == FO_DELETE) {
        const std::string path = WithoutTrailingSeparators(from.View());
        return (operation.fFlags & FOF_ALLOWUNDO) != 0 ? MoveToRecycleBin(path) : DeleteTree(path);
    }
    const PosixPath to(operation.pTo);
    return to.IsValid() && Copy(from, to);
}

} // namespace

int SHFileOperationW(SHFILEOPSTRUCTW* operation) {
    return Run(*operation) ? 0 : static_cast<int>(::GetLastError());
}

int Vellox::Platform::RunShellOperation(SHFILEOPSTRUCTW& operation) {
    return ::SHFileOperationW(&operation);
}
