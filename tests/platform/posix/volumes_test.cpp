#include <fcntl.h>
#include <linux/posix_acl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>

#include "platform/posix/trees/access_list.h"
#include "support/scratch.h"
#include "vellox/filesystem.h"
#include "vellox/trash.h"

// What an item keeps beside its bytes, on the way between this volume and another one. tools/volumes runs this with
// volumes of many kinds; what one of them cannot hold is told and left out.

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using Posix::AccessList;

constexpr unsigned noId = static_cast<unsigned>(ACL_UNDEFINED_ID);
constexpr unsigned someUser = 65534;
constexpr char defaultList[] = "system.posix_acl_default";
constexpr off_t sparseSize = off_t{1} << 20;

// The bits of the group are the mask then.
const AccessList namesAUser = {{ACL_USER_OBJ, 7, noId},
                               {ACL_USER, 6, someUser},
                               {ACL_GROUP_OBJ, 0, noId},
                               {ACL_MASK, 6, noId},
                               {ACL_OTHER, 0, noId}};

enum class Way { Copy, Move };
using Facts = std::map<std::string, std::string>;

void AddFacts(Facts& facts, const fs::path& path, const std::string& name, Way way) {
    struct stat status{};
    ASSERT_EQ(::lstat(path.c_str(), &status), 0) << path;
    const bool isMove = way == Way::Move;
    facts[name + " kind and rights"] = std::to_string(status.st_mode & (isMove ? ~0U : ~07000U));
    facts[name + " time"] = std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec);
    if (isMove)
        facts[name + " owner"] = std::to_string(status.st_uid) + ":" + std::to_string(status.st_gid);
    if (S_ISLNK(status.st_mode))
        facts[name + " target"] = fs::read_symlink(path).string();
    if (S_ISREG(status.st_mode)) {
        facts[name + " content"] = ReadFile(path);
        facts[name + " holes"] = status.st_blocks < sparseSize / 1024 ? "holes" : "no holes";
    }
    // What a volume keeps and does not tell by name (ntfs-3g), nobody can copy.
    char names[1024];
    const ssize_t length = ::llistxattr(path.c_str(), names, sizeof names);
    for (const char* attribute = names; attribute < names + length; attribute += std::strlen(attribute) + 1) {
        char value[256];
        const ssize_t size = ::lgetxattr(path.c_str(), attribute, value, sizeof value);
        if (size >= 0 && (isMove || attribute != std::string_view("security.capability")))
            facts[name + ' ' + attribute] = std::string(value, static_cast<std::size_t>(size));
    }
}

Facts FactsOf(const fs::path& item, Way way) {
    Facts facts;
    AddFacts(facts, item, "", way);
    if (fs::is_directory(item))
        for (const auto& entry : fs::recursive_directory_iterator(item))
            AddFacts(facts, entry.path(), entry.path().lexically_relative(item).string(), way);
    return facts;
}

class VolumesTest : public ScratchTest {
protected:
    // Says what the volume does not take.
    static void Try(int result, const fs::path& path, const char* what) {
        if (result != 0)
            std::cout << "[ left out ] " << what << " of " << path.filename() << ": " << std::strerror(errno) << '\n';
    }
    static void SetAttribute(const fs::path& path, const char* name, std::string_view value) {
        Try(::setxattr(path.c_str(), name, value.data(), value.size(), 0), path, name);
    }

    // All that a file can have. A new owner takes away what comes behind it here.
    static void MakeTake(const fs::path& path) {
        WriteFile(path, "begin");
        Try(::truncate(path.c_str(), sparseSize), path, "holes");
        std::fstream(path, std::ios::in | std::ios::out).seekp(sparseSize / 2) << "middle";
        Try(::chown(path.c_str(), 1, 2), path, "owner");
        Try(::chmod(path.c_str(), 04750), path, "rights");
        SetAttribute(path, "user.vellox", "take 7");
        SetAttribute(path, "trusted.vellox", std::string(200, 't'));
        SetAttribute(path, Posix::accessListAttribute, Posix::FormatAccessList(namesAUser));
        SetAttribute(path, "security.capability", {"\1\0\0\2\0\4\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20});
        MakeOld(path);
    }
    static void MakeSong(const fs::path& song) {
        MakeTake(song / "sub/take.wav");
        WriteFile(song / "plain.wav", "plain");
        Try(::chmod((song / "plain.wav").c_str(), 0640), song, "rights");
        Try(::symlink("none", (song / "link").c_str()), song, "link");
        Try(::mkfifo((song / "fifo").c_str(), 0640), song, "fifo");
        Try(::chown((song / "sub").c_str(), 1, 2), song, "owner");
        Try(::chmod((song / "sub").c_str(), 02750), song, "rights");
        SetAttribute(song, defaultList, Posix::FormatAccessList(namesAUser));
        for (const char* name : {"sub", "."})
            MakeOld(song / name);
    }
    static void ExpectFacts(const fs::path& item, Way way, const Facts& expected) {
        Facts found = FactsOf(item, way);
        for (const auto& [name, value] : expected)
            EXPECT_TRUE(found[name] == value) << item << ": " << name << " differs: " << found[name].substr(0, 99);
        EXPECT_EQ(found.size(), expected.size()) << item;
    }

    const fs::path trash = MakeTrash();
    const fs::path place = OtherVolume();
};

TEST_F(VolumesTest, KeepsAllThatBothVolumesHold) {
    const auto trashItem = [](const fs::path& item, const fs::path& /*to*/) {
        DeleteFileToRecycleBin(Win32(item), true);
    };
    const auto putBack = [](const fs::path& item, const fs::path& /*to*/) { EXPECT_TRUE(PutBack(Win32(item))); };
    const auto copyNew = [](const fs::path& item, const fs::path& to) {
        EXPECT_TRUE(CopyFileA(Win32(item), Win32(to), true, nullptr));
    };
    const auto copyOver = [](const fs::path& item, const fs::path& to) {
        WriteFile(to, "old");
        EXPECT_TRUE(CopyFileA(Win32(item), Win32(to), false, nullptr));
    };
    const auto copyFolder = [](const fs::path& item, const fs::path& to) { CopyFolder(Win32(item), Win32(to)); };
    struct Row {
        const char* name;
        Way way;
        const char* item;
        std::function<void(const fs::path&, const fs::path&)> there;
        std::function<void(const fs::path&, const fs::path&)> back;
    };
    const Row rows[] = {
        {"file into the trash and back", Way::Move, "take.wav", trashItem, putBack},
        {"folder into the trash and back", Way::Move, "Song", trashItem, putBack},
        {"copy new", Way::Copy, "take.wav", copyNew, copyNew},
        {"copy over", Way::Copy, "take.wav", copyOver, copyOver},
        {"folder copy", Way::Copy, "Song", copyFolder, copyFolder},
    };
    MakeTake(place / "take.wav");
    MakeSong(place / "Song");
    // What comes into these folders gets rights from them that it must not keep.
    for (const fs::path& folder : {At(""), trash, place})
        SetAttribute(folder, defaultList, Posix::FormatAccessList(namesAUser));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const bool isMove = row.way == Way::Move;
        const fs::path item = place / row.item, there = (isMove ? trash : At("")) / row.item;
        const fs::path back = isMove ? item : place / "copy" / row.item;
        fs::create_directory(place / "copy");
        const Facts before = FactsOf(item, row.way);
        row.there(item, there);
        ExpectFacts(there, row.way, before);
        row.back(there, back);
        ExpectFacts(back, row.way, before);
        fs::remove_all(isMove ? trash / row.item : place / "copy");
        fs::remove_all(At(row.item));
    }
    fs::remove(trash / ".trash.db");
    ::removexattr(trash.c_str(), defaultList);
}

TEST_F(VolumesTest, LetsNobodyGainARightThatAListKept) {
    struct Row {
        const char* why;
        AccessList list;
        mode_t bits;
    };
    const Row rows[] = {
        {"the group's bits were the mask", namesAUser, 0700},
        {"a named user may be in the group",
         {{ACL_USER_OBJ, 6, noId},
          {ACL_USER, 0, 1},
          {ACL_GROUP_OBJ, 6, noId},
          {ACL_MASK, 6, noId},
          {ACL_OTHER, 4, noId}},
         0600},
        {"a named group is among the others",
         {{ACL_USER_OBJ, 6, noId},
          {ACL_GROUP_OBJ, 6, noId},
          {ACL_GROUP, 4, 1},
          {ACL_MASK, 4, noId},
          {ACL_OTHER, 6, noId}},
         0644},
        {"no one is named", Posix::AccessListOf(0751), 0751},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Posix::BitsWithin(row.list), row.bits) << row.why;
    if (::geteuid() != 0)
        GTEST_SKIP() << "no file here of another group than the user's";
    fs::permissions(trash, fs::perms::all);
    WriteFile(place / "take.wav", "");
    Try(::chown((place / "take.wav").c_str(), 0, 1), place, "owner");
    Try(::chmod((place / "take.wav").c_str(), 0664), place, "rights");
    const fs::perms before = fs::status(place / "take.wav").permissions();
    {
        const AsOrdinaryUser user;
        DeleteFileToRecycleBin(Win32(place / "take.wav"), false);
    }
    if (before == fs::perms(0664)) {
        EXPECT_EQ(fs::status(trash / "take.wav").permissions(), fs::perms(0644)) << "for the group of who moves it";
    }
    fs::remove(trash / "take.wav");
}

} // namespace
} // namespace Vellox::FileNames
