#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <thread>

#include "faults/injection.h"
#include "fileobjects/file.h"
#include "platform/operations.h"
#include "support/scratch.h"
#include "trash/catalogue.h"
#include "vellox/filesystem.h"
#include "vellox/trash.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;

// What the operation does to the files at or below one path, and where the other path is to hold them.
enum class Effect { Copies, Moves, Deletes, Makes };
struct Operation {
    const char* name;
    Effect effect;
    fs::path from;
    fs::path to;
    std::function<void()> run;
};

using Files = std::map<fs::path, std::string>;

// The path at the one place that the other has below the other place; empty if it is not there.
fs::path Counterpart(const fs::path& path, const fs::path& from, const fs::path& to) {
    const fs::path rest = path.lexically_relative(from);
    if (to.empty() || rest.empty() || *rest.begin() == "..")
        return {};
    return rest == "." ? to : to / rest;
}

// The trash is on one volume; the items are on the same or on the other.
class NothingLost : public ScratchTest, public ::testing::WithParamInterface<bool> {
protected:
    NothingLost() : near(OtherVolume()), items(GetParam() ? At("") : near), song(near.filename()) {
        static const fs::path folder = near.string() + "-data"; // a process asks for the home folder once
        data = folder;
        trash = data / "Vellox Studio 10/Trash";
        bins[0] = data / "Trash";
        bins[1] = FolderOnOtherVolume() / (".Trash-" + std::to_string(::geteuid()));
        fs::create_directories(trash);
        SetEnvironment("XDG_DATA_HOME", data.string());
        EXPECT_EQ(GetTrashFolderPath(), Win32(trash));
        SetTemporaryFolder(near / "tmp");
        TrashCatalogue catalogue;
        catalogue.Load(Win32(trash));
        for (int item = 0; item < 400; ++item) // more than one piece for the reader and the writer
            catalogue.Add("other item " + std::to_string(item), std::string(200, 'o'));
        for (const char* name : {"kept.wav", "gone"})
            catalogue.Add(Win32(trash / name), Win32(items / "back" / name));
        keys = {Win32(trash / "kept.wav"), Win32(trash / "gone"), "other item 0", "other item 99"}; // first and last
        catalogue.Save();
        catalogueBytes = ReadFile(trash / ".trash.db");
        Build();
        before = Look();
    }
    ~NothingLost() override {
        Clear();
        fs::remove_all(data);
        SetTemporaryFolder("/tmp");
    }

    fs::path InfoIn(const fs::path& bin) const { return bin / "info" / (song.string() + ".trashinfo"); }

    void Clear() const {
        for (const fs::path& folder : {trash, items, near})
            for (const auto& entry : fs::directory_iterator(folder))
                fs::remove_all(entry);
        for (const fs::path& bin : bins) {
            fs::remove_all(bin / "files" / song);
            fs::remove(InfoIn(bin));
        }
    }

    void Build() const {
        Clear();
        WriteFile(items / "take.wav", std::string(150'000, '.'));
        for (const fs::path& path : {items / song / "a.wav", items / song / "sub/b.wav", near / "to/a.wav",
                                     near / "old.wav", near / "tmp/mine", trash / "kept.wav", trash / "gone/a.wav"})
            WriteFile(path, path.string());
        for (const fs::path& link : {items / song / "link", items / "link", trash / "gone/link"})
            fs::create_symlink(link.filename(), link);
        fs::create_directory(items / "back");
        WriteFile(trash / ".trash.db", catalogueBytes);
    }

    // What stands in all these folders. The system's recycle bin can be one of two; the first stands for both.
    Files Look() const {
        std::vector<std::pair<fs::path, fs::path>> roots = {{trash, trash}, {items, items}, {near, near}};
        Files files;
        for (const fs::path& bin : bins)
            if (fs::exists(InfoIn(bin)) && fs::exists(bin / "files" / song)) {
                roots.emplace_back(bin / "files" / song, bins[0] / "files" / song);
                files[bins[0] / "files" / song] = "folder";
            }
        for (const auto& [root, name] : roots)
            for (const auto& entry : fs::recursive_directory_iterator(root))
                if (entry.path() != trash / ".trash.db")
                    files[name / entry.path().lexically_relative(root)] = entry.is_symlink()
                                                                              ? "to " + fs::read_symlink(entry).string()
                                                                          : entry.is_directory() ? "folder"
                                                                                                 : ReadFile(entry);
        return files;
    }

    std::vector<Operation> Operations() const {
        const auto take = Win32(items / "take.wav"), folder = Win32(items / song), link = Win32(items / "link");
        const auto trashItem = [](const std::string& path) { return [=] { DeleteFileToRecycleBin(path, true); }; };
        const auto copyFile = [=](const fs::path& to) { return [=] { CopyFileA(take, Win32(to), false, nullptr); }; };
        const auto copyFolder = [=](const fs::path& to) { return [=] { CopyFolder(folder, Win32(to)); }; };
        std::vector<Operation> rows = {
            {"CopyFileA", Effect::Copies, items / "take.wav", near / "new.wav", copyFile(near / "new.wav")},
            {"CopyFileA over", Effect::Copies, items / "take.wav", near / "old.wav", copyFile(near / "old.wav")},
            {"CopyFolder", Effect::Copies, items / song, near / "copy", copyFolder(near / "copy")},
            {"CopyFolder into", Effect::Copies, items / song, near / "to", copyFolder(near / "to")},
            {"Trash file", Effect::Moves, items / "take.wav", trash / "take.wav", trashItem(take)},
            {"Trash folder", Effect::Moves, items / song, trash / song, trashItem(folder)},
            {"Trash link", Effect::Moves, items / "link", trash / "link", trashItem(link)},
        };
        for (const char* name : {"kept.wav", "gone"})
            rows.push_back({"PutBack", Effect::Moves, trash / name, items / "back" / name,
                            [=, this] { PutBack(Win32(trash / name)); }});
        if (GetParam())
            return rows; // the others are the same on any volume
        const auto deletion = [=](bool permanently) {
            return [=] { DeleteFolderWithContents(folder.c_str(), false, permanently); };
        };
        const auto temporaryNames = [] {
            GetTempFilename("voc");
            GetTempFilenameNoCreate();
            GetTempFilenameNoCreateW();
            GetUniqueTempFilename("wav");
        };
        rows.push_back({"Delete", Effect::Deletes, items / song, "", deletion(true)});
        rows.push_back({"Recycle", Effect::Moves, items / song, bins[0] / "files" / song, deletion(false)});
        rows.push_back({"Temporary names", Effect::Makes, "", "", temporaryNames});
        rows.push_back({"CreateDirectories", Effect::Makes, "", "", [=] { CreateDirectories(folder + R"(\x\y\z)"); }});
        rows.push_back({"CanPutBack", Effect::Makes, "", "", [=] { CanPutBack(take); }});
        return rows;
    }

    // Every file is whole at one of its places, and nothing else has come but what the operation makes.
    void ExpectNothingLost(const Operation& operation, const Files& after, bool mayLitter) const {
        const auto holds = [&](const fs::path& path, const std::string& content) {
            const auto found = after.find(path);
            return found != after.end() && found->second == content;
        };
        for (const auto& [path, content] : before) {
            const fs::path newPlace = Counterpart(path, operation.from, operation.to);
            const fs::path source = Counterpart(path, operation.to, operation.from);
            const bool isMoved = operation.effect == Effect::Moves && holds(newPlace, content);
            const bool isReplaced = before.count(source) != 0 && holds(path, before.at(source));
            const bool isDeleted = operation.effect == Effect::Deletes && after.count(path) == 0 &&
                                   !Counterpart(path, operation.from, "x").empty();
            EXPECT_TRUE(holds(path, content) || isMoved || isReplaced || isDeleted) << path << " is lost";
        }
        for (const auto& [path, content] : after) {
            const fs::path source = Counterpart(path, operation.to, operation.from);
            const bool isCopy = before.count(source) != 0 && before.at(source) == content;
            const bool isMade = content == "folder" || (path.extension() == ".TMP" && content.empty());
            const bool isLitter = mayLitter && path.string().find("/.vellox-") != std::string::npos;
            EXPECT_TRUE(before.count(path) != 0 || isCopy || isMade || isLitter) << path << " is new";
        }
        for (const fs::path& bin : bins) {
            const bool isNamed = fs::exists(InfoIn(bin));
            const bool isThere = fs::exists(bin / "files" / song);
            EXPECT_TRUE(isNamed == isThere || (isNamed && mayLitter)) << "without its way back in " << bin;
        }
    }

    bool IsDone(const Operation& operation, const Files& after) const {
        for (const auto& [path, content] : before)
            if (const fs::path place = Counterpart(path, operation.from, operation.to); !place.empty())
                if (after.count(place) == 0 || after.at(place) != content ||
                    (after.count(path) != 0) != (operation.effect == Effect::Copies))
                    return false;
        return operation.effect != Effect::Deletes || !fs::exists(operation.from);
    }

    // The keys that can be found in the catalogue's file as it is.
    std::set<std::string> KeysInFile() const {
        TrashCatalogue catalogue;
        catalogue.Load(Win32(trash));
        std::set<std::string> found;
        std::string place;
        std::copy_if(keys.begin(), keys.end(), std::inserter(found, found.end()),
                     [&](const std::string& key) { return catalogue.FindRestorePath(key, place); });
        return found;
    }

    // The next operation keeps the records that the file still had, and those of the process.
    void ExpectRecords(const Operation& operation, const std::set<std::string>& known) const {
        CanPutBack("");
        const std::set<std::string> left = KeysInFile();
        for (const std::string& key : known)
            EXPECT_TRUE(left.count(key) != 0 || key == Win32(operation.from)) << key << " is forgotten";
    }

    void Restore(const Files& after) const {
        for (const fs::path& bin : bins)
            fs::remove(InfoIn(bin));
        after == before ? WriteFile(trash / ".trash.db", catalogueBytes) : Build();
    }

    // Runs the operation with the fault; false if it made fewer calls.
    bool SurvivesFault(const Operation& operation, const Injection& fault) {
        const std::size_t descriptorsBefore = OpenDescriptors();
        injection = fault;
        operation.run();
        injection.isOn = false;
        SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(fault.first) + " to " +
                     std::to_string(fault.last) + ", " + injection.struck + ": " + std::strerror(fault.error));
        EXPECT_EQ(OpenDescriptors(), descriptorsBefore);
        const Files after = Look();
        const bool isDone = IsDone(operation, after);
        const bool isUntouched = injection.calls < fault.first;
        const bool isPassing = fault.error == EINTR && fault.first == fault.last && injection.couldWait;
        EXPECT_TRUE(isDone || !(isUntouched || isPassing)) << "is not done";
        const bool removalFails = std::string_view(injection.struck).starts_with("unlink");
        ExpectNothingLost(operation, after, fault.first != fault.last || removalFails);
        ExpectRecords(operation, keys);
        if (operation.to.parent_path() == trash && fs::exists(fs::symlink_status(operation.to))) {
            EXPECT_TRUE(CanPutBack(Win32(operation.to))) << "it is in the trash and not findable";
        }
        Restore(after);
        return !isUntouched;
    }

    // Runs the operation in a process of its own and kills it at its Nth system call; false if it made fewer.
    static bool IsKilledAt(const Operation& operation, long number) {
        const pid_t process = ::fork();
        if (process == 0) {
            ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            static_cast<void>(::raise(SIGSTOP));
            operation.run();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(process, &status, 0);
        // A call stops twice, at its begin and at its end.
        for (long stop = 0; WIFSTOPPED(status) && stop < 2 * number; ++stop) {
            ::ptrace(PTRACE_SYSCALL, process, nullptr, nullptr);
            ::waitpid(process, &status, 0);
        }
        if (!WIFSTOPPED(status)) {
            EXPECT_EQ(status, 0) << operation.name;
            return false;
        }
        ::kill(process, SIGKILL);
        ::waitpid(process, &status, 0);
        return true;
    }

    const fs::path near;
    const fs::path items;
    const fs::path song;
    fs::path data;
    fs::path trash;
    fs::path bins[2];
    std::set<std::string> keys;
    std::string catalogueBytes;
    Files before;
};

TEST_P(NothingLost, WhateverCallFails) {
#ifdef VELLOX_FEW_FAULTS
    constexpr int errors[] = {EIO, EINVAL};
#else
    constexpr int errors[] = {ENOSPC, EIO, EACCES, ETXTBSY, EINTR, EMFILE, EXDEV, EINVAL};
#endif
    long points = 0;
    for (const Operation& operation : Operations())
        for (const int error : errors)
            for (const long inARow : {1L, error == EINTR ? 5L : LONG_MAX / 2})
                for (long first = 1; SurvivesFault(operation, {true, error, first, first + inARow - 1}); ++first)
                    ++points;
    std::cout << points << " points of failure\n";
}

TEST_P(NothingLost, WhereverTheProcessIsKilled) {
    long points = 0;
    for (const Operation& operation : Operations()) {
        long number = 1;
        for (; IsKilledAt(operation, number); ++number, ++points) {
            SCOPED_TRACE(std::string(operation.name) + " killed at " + std::to_string(number));
            const Files after = Look();
            ExpectNothingLost(operation, after, true);
            ExpectRecords(operation, KeysInFile());
            Restore(after);
        }
        EXPECT_GT(number, 4) << operation.name;
        EXPECT_TRUE(IsDone(operation, Look())) << operation.name;
        Build();
    }
    std::cout << points << " points of death\n";
}

// Whatever becomes of the operation, what another program brings in front of one of its calls stays.
TEST_P(NothingLost, WhenAnotherProgramWritesMeanwhile) {
    using Paths = std::vector<fs::path>;
    const fs::path take = items / "take.wav", link = items / "link", folder = items / song, made = near / "new.wav";
    const Paths inFolder = {folder / "a.wav", folder / "sub/b.wav", folder / "link"};
    const fs::path beside = trash / ".vellox-move1";
    const auto write = [](const Paths& paths) { WriteFile(paths[0], "late"); };
    const auto writeInPlace = [](const Paths& paths) {
        std::fstream(paths[0], std::ios::in | std::ios::out).write("late", 4);
    };
    const auto setBack = [&](const Paths& paths) {
        const fs::file_time_type time = fs::last_write_time(paths[0]);
        writeInPlace(paths);
        fs::last_write_time(paths[0], time);
    };
    const auto takePlace = [this](const Paths& paths) {
        fs::rename(paths[0].parent_path(), near / "away");
        WriteFile(paths[0], "late");
    };
    const auto replace = [this](const Paths& paths) {
        for (const fs::path& path : paths) {
            WriteFile(items / "late", "late");
            fs::rename(items / "late", path);
        }
    };
    QuirnFiles::CFile holder;
    const auto record = [&](const Paths& paths) {
        holder.Open(Win32(paths[0]).c_str(), GENERIC_WRITE, 0, CREATE_ALWAYS);
        holder.Write("late", 4);
    };
    const auto trashItem = [](const fs::path& path) { return [=] { DeleteFileToRecycleBin(Win32(path), true); }; };
    const auto trashOldTake = [=] {
        std::this_thread::sleep_for(std::chrono::seconds(4)); // from then on a time tells of a later write
        DeleteFileToRecycleBin(Win32(take), true);
    };
    struct Row {
        std::string_view call;
        fs::path standing; // before that call
        std::function<void(const Paths&)> intruder;
        Paths paths;
        std::function<void()> run;
        bool comesOnOneVolumeToo = false;
    };
    const Row rows[] = {
        {"fstat", trash / "take.wav", write, {take}, trashItem(take), true},
        {"renameat2", trash / "take.wav", replace, {take}, trashItem(take)},
        {"renameat2", trash / "take.wav", writeInPlace, {take}, trashItem(take)},
        {"renameat2", trash / "take.wav", writeInPlace, {take}, trashOldTake},
        {"renameat2", trash / "take.wav", setBack, {take}, trashItem(take)},
        {"renameat2", trash / song, setBack, {folder / "sub/b.wav"}, trashItem(folder)},
        {"syncfs", beside / "a.wav", writeInPlace, {folder / "a.wav"}, trashItem(folder)},
        {"fsync", beside, takePlace, {beside / "x"}, trashItem(take)},
        {"syncfs", beside, takePlace, {beside / "x"}, trashItem(folder)},
        {"renameat2", trash / "link", replace, {link}, trashItem(link)},
        {"renameat2", trash / song, replace, inFolder, trashItem(folder)},
        {"futimens", "/", write, {items / "back/gone/new.wav"}, [&] { PutBack(Win32(trash / "gone")); }},
        {"copy_file_range", "/", record, {made}, [&] { CopyFileA(Win32(take), Win32(made), false, nullptr); }, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.call) + " for " + row.paths[0].string());
        injection.intrudes = [&row](std::string_view name) {
            return name == row.call && fs::exists(fs::symlink_status(row.standing));
        };
        injection.intruder = [&row] { row.intruder(row.paths); };
        row.run();
        EXPECT_EQ(injection.intruder == nullptr, row.comesOnOneVolumeToo || GetParam());
        for (const fs::path& path : row.paths)
            EXPECT_TRUE(injection.intruder != nullptr || ReadFile(path).starts_with("late")) << path;
        injection.intruder = nullptr;
        holder.Close();
        Build();
    }
}

// Another program exchanges what is copied, or the folder that it stands in, and changes it back before it is removed.
TEST_P(NothingLost, WhenAnotherProgramExchangesNamesMeanwhile) {
    const std::string content = ReadFile(items / song / "a.wav");
    struct Row {
        std::string_view begin, end; // in front of which calls
        fs::path exchanged;
    };
    const Row rows[] = {
        {"write", "fsync", items / song / "a.wav"},
        {"flock", "write", items / song / "a.wav"},
        {"write", "fsync", items / song},
        {"fsync", "renameat2", items / song},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.exchanged.string() + " from " + std::string(row.begin) + " to " + std::string(row.end));
        const fs::path twin = items / "twin", late = fs::is_directory(row.exchanged) ? twin / "a.wav" : twin;
        WriteFile(late, "late");
        const auto exchange = [&] {
            EXPECT_EQ(::renameat2(AT_FDCWD, twin.c_str(), AT_FDCWD, row.exchanged.c_str(), RENAME_EXCHANGE), 0);
        };
        injection.intrudes = [&](std::string_view name) {
            return name == row.begin && fs::exists(trash / ".vellox-move1");
        };
        injection.intruder = [&] {
            exchange();
            injection.intrudes = [&](std::string_view name) { return name == row.end; };
            injection.intruder = exchange;
        };
        DeleteFileToRecycleBin(Win32(items / song / "a.wav"), true);
        EXPECT_EQ(injection.intruder == nullptr, GetParam());
        injection.intruder = nullptr;
        EXPECT_EQ(ReadFile(late), "late");
        const fs::path place = fs::exists(items / song / "a.wav") ? items / song / "a.wav" : trash / "a.wav";
        EXPECT_EQ(ReadFile(place), content);
        Build();
    }
}

TEST_P(NothingLost, WhereARenameCannotBeToldToRefuse) {
    const AsOrdinaryUser user;
    WriteFile(near / "shut/take.wav", "take");
    fs::permissions(near / "shut", fs::perms(0555));
    injection = {true, EINVAL, 1, 1};
    EXPECT_NE(Platform::RenameWithoutReplacing(Win32(near / "shut/take.wav").c_str(), Win32(near / "new").c_str()), 0);
    injection.isOn = false;
    EXPECT_FALSE(fs::exists(near / "new"));
    fs::permissions(near / "shut", fs::perms::all);
    // The file has two names then, and another program saves it by a rename over the old one.
    injection = {true, EINVAL, 1, 1};
    injection.intrudes = [this](std::string_view name) { return name == "renameat2" && fs::exists(near / "new"); };
    injection.intruder = [this] {
        WriteFile(near / "late", "late");
        fs::rename(near / "late", near / "shut/take.wav");
    };
    EXPECT_NE(Platform::RenameWithoutReplacing(Win32(near / "shut/take.wav").c_str(), Win32(near / "new").c_str()), 0);
    injection.isOn = false;
    EXPECT_EQ(injection.intruder, nullptr);
    EXPECT_EQ(ReadFile(near / "shut/take.wav"), "late");
    EXPECT_FALSE(fs::exists(near / "new"));
}

// The write, the close and the removal of what was written so far: the first of them tells the reason.
TEST_P(NothingLost, WhenTheCleanUpFailsToo) {
    injection.intrudes = [](std::string_view name) { return name == "write"; };
    injection.intruder = [] {
        injection.isOn = true;
        injection.error = EIO;
        injection.first = injection.calls + 1;
        injection.last = injection.calls + 3;
    };
    auto reason = SourceNotFound;
    EXPECT_FALSE(CopyFileA(Win32(near / "old.wav"), Win32(near / "new.wav"), true, &reason));
    injection.isOn = false;
    EXPECT_EQ(injection.intruder, nullptr);
    EXPECT_EQ(reason, DestinationNotWritable);
    EXPECT_FALSE(fs::exists(near / "new.wav"));
}

TEST_P(NothingLost, WhenADeletedFolderBecomesALink) {
    const fs::path folder = near / "doomed/sub", away = near / "away";
    long calls = 0;
    for (long call = 1; call == 1 || calls >= call - 1; ++call) {
        SCOPED_TRACE("in front of call " + std::to_string(call));
        WriteFile(folder / "sub/b.wav", "doomed");
        calls = 0;
        injection.intrudes = [&](std::string_view /*name*/) { return ++calls == call; };
        injection.intruder = [&] {
            std::error_code isGone;
            fs::rename(folder, away, isGone);
            if (!isGone)
                fs::create_directory_symlink(items / song, folder);
        };
        DeleteFolderWithContents(Win32(near / "doomed").c_str(), false, true);
        injection.intruder = nullptr;
        for (const fs::path& left : {near / "doomed", away})
            fs::remove_all(left);
        EXPECT_EQ(Look(), before);
    }
    EXPECT_GT(calls, 5);
}

// Each process trashes takes of its own, and all put back whatever they find.
TEST_P(NothingLost, WhenProcessesMeetInTheTrash) {
    constexpr int races = 20, processes = 6, takes = 3, turns = 5;
    std::ptrdiff_t forgotten = 0;
    for (int race = 0; race < races; ++race) {
        Clear();
        const auto item = [&](int number) {
            return items / std::to_string(number) / (number % 2 == 0 ? "take" : "song");
        };
        for (int number = 0; number < processes * takes; ++number)
            WriteFile(number % 2 == 0 ? item(number) : item(number) / "take", "take " + std::to_string(number));
        for (int process = 0; process < processes; ++process) {
            if (::fork() != 0)
                continue;
            for (int turn = 0; turn <= turns; ++turn) {
                for (int take = 0; take < takes; ++take)
                    DeleteFileToRecycleBin(Win32(item(process * takes + take)), true);
                for (const auto& entry : fs::directory_iterator(trash))
                    if (turn < turns && CanPutBack(Win32(entry.path())))
                        PutBack(Win32(entry.path()));
            }
            ::_exit(0);
        }
        for (int status = 0; ::wait(&status) > 0;)
            EXPECT_EQ(status, 0);
        std::map<std::string, int> found;
        for (const auto& [path, content] : Look()) {
            ++found[content];
            forgotten += content != "folder" && path.parent_path() == trash && !CanPutBack(Win32(path));
        }
        for (int number = 0; number < processes * takes; ++number)
            EXPECT_GE(found["take " + std::to_string(number)], 1) << number << " is lost";
    }
    std::cout << forgotten << " of " << races * processes * takes << " items without their record\n";
}

INSTANTIATE_TEST_SUITE_P(Volumes, NothingLost, ::testing::Bool(),
                         [](const auto& volume) { return volume.param ? "Other" : "Same"; });

} // namespace
} // namespace Vellox::FileNames
