#include "vellox/processes.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/win32.h"
#include "support/scratch.h"

namespace Vellox::FileNames {
namespace {

using namespace Vellox::Testing;
using Words = std::vector<std::string>;

constexpr OnlyOn asScripts = OnLinux("Windows tells a program by its extension");

class ProcessesTest : public ScratchTest {
protected:
    static void* Launch(Words words) { return LaunchProcess("ignored", words); }

    static void ExpectRuns(const Words& words) {
        void* process = Launch(words);
        EXPECT_NE(process, nullptr) << words[0];
        EXPECT_EQ(WaitForProcess(process, -1), 1) << words[0];
        EXPECT_EQ(WaitForProcess(process, 0), 1) << words[0] << ", a second time";
        ::CloseHandle(process);
    }

    // A script below the scratch folder, for the shell of Linux or of Windows.
    std::string Script(const std::string& name, const std::string& shell, const std::string& batch) {
        const bool isShell = HoldsHere(asScripts);
        const std::string script = name + (isShell ? "" : ".bat");
        WriteFile(At(script), isShell ? "#!/bin/sh\n" + shell + "\n" : "@echo off\r\n" + batch + "\r\n");
        fs::permissions(At(script), fs::perms::owner_all);
        return R"(.\)" + Win32(script);
    }
};

TEST_F(ProcessesTest, RefusesWhatIsNoProgram) {
    Make({"plain", "garbage"});
    fs::permissions(At("plain"), fs::perms::owner_read);
    fs::permissions(At("garbage"), fs::perms::owner_all);
    const AsOrdinaryUser user;
    for (const Words& words : {Words{}, Words{""}, Words{" ", " "}, Words{In("none")}, Words{In("plain")},
                               Words{In("")}, Words{In("garbage")}, Words{"no-such-program"}, Words{R"(X:\bin\true)"},
                               Words{R"("")"}, Words{std::string(100000, 'x')}})
        EXPECT_EQ(Launch(words), nullptr) << (words.empty() ? "" : words[0].substr(0, 80));
}

TEST_F(ProcessesTest, FindsProgramsAndGivesThemTheirWords) {
    if (HoldsHere(asScripts)) {
        for (const char* program : {"true", "/bin/true", R"(C:\bin\true)"})
            ExpectRuns({program});
    } else
        ExpectRuns({"cmd /c exit"});
    SetEnvironment("VELLOX_TEST_VALUE", "a value");
    const std::string script =
        Script("my apps/script", R"(printf '%s\n' "$VELLOX_TEST_VALUE" "$PWD" "$@" > words)",
               "echo %VELLOX_TEST_VALUE%>words\r\necho %CD%>>words\r\nfor %%w in (%*) do echo %%~w>>words");
    for (const std::string& path : {script, In("") + script}) {
        ExpectRuns({'"' + path + '"', R"("My Song.sng")", "a", "b"});
        std::string words = ReadFile(At("words"));
        words.erase(std::remove(words.begin(), words.end(), '\r'), words.end());
        EXPECT_EQ(words, "a value\n" + fs::current_path().string() + "\nMy Song.sng\na\nb\n") << path;
        fs::remove(At("words"));
    }
}

TEST_F(ProcessesTest, WaitsAsLongAsAskedFromSeveralThreads) {
    EXPECT_EQ(WaitForProcess(nullptr, -1), 0);
    void* process =
        Launch({Script("script", "until test -e go; do sleep 0.05; done", ":wait\r\nif not exist go goto wait")});
    ASSERT_NE(process, nullptr);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForProcess(process, 0), 0);
    EXPECT_EQ(WaitForProcess(process, 100), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    WriteFile(At("go"), "");
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count)
        threads.emplace_back([&] { EXPECT_EQ(WaitForProcess(process, 10000), 1); });
    for (std::thread& thread : threads)
        thread.join();
    ::CloseHandle(process);
    EXPECT_EQ(WaitForProcess(process, -1), 0);
}

} // namespace
} // namespace Vellox::FileNames
