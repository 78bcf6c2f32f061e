// usage: first_hour FOLDER    moves the folder into the trash and puts it back

#include <algorithm>
#include <iostream>
#include <iterator>
#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
#include <vellox/trash.h>

using namespace Vellox::FileNames;

static std::vector<std::string> FoldersInTrash() {
    std::vector<std::string> names = GetFolderSubfolders(FormatDirectory(GetTrashFolderPath()));
    std::sort(names.begin(), names.end());
    return names;
}

static int Fail(const std::string& what) {
    std::cerr << what << '\n';
    return 1;
}

int main(int count, char** words) {
    const std::string folder = count == 2 ? GetAbsolutePath(ConvertPathToLocalSystem(words[1]), nullptr) : "";
    bool isFolder = false;
    if (!CheckPathIsDirectory(folder, isFolder) || !isFolder)
        return Fail("usage: first_hour FOLDER");
    if (GetHomeFolderBase().empty() || !CreateDirectories(GetHomeFolderBase()))
        return Fail("there is no place for the trash");
    const std::vector<std::string> before = FoldersInTrash();
    DeleteFileToRecycleBin(folder, true);
    if (CheckFileExistsEvenIfNotAccessible(folder))
        return Fail(folder + " could not be moved");
    const std::vector<std::string> after = FoldersInTrash();
    std::vector<std::string> added; // under its own name, or with a number behind it
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(added));
    const std::string item = added.size() == 1 ? GetTrashFolderPath() + "\\" + added.front() : "";
    std::cout << folder << " went to " << item << '\n';
    if (!PutBack(item) || !CheckFileExistsEvenIfNotAccessible(folder))
        return Fail("it did not come back");
    std::cout << "and came back\n";
}
