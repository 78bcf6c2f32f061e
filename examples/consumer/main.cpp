#include <vellox/fileobjects.h>
#include <vellox/filesystem.h>
#include <vellox/pathtext.h>
#include <vellox/processes.h>
#include <vellox/songs.h>
#include <vellox/trash.h>

#include <iostream>

void StoreFromModule();

int main() {
    std::string relative;
    Vellox::FileNames::GetPathRelativeToOtherFile(relative, R"(C:\Songs\Demo\demo.sng)", R"(C:\Songs\Audio\take1.wav)");
    StoreFromModule();
    const bool isOneCopy =
        Vellox::Threading::mainThreadId == 42 && testsRunning && isDoingStressTest == 7 && GetUIScaleFactor() > 1.4F;
    const bool isWhole =
        isOneCopy && relative == R"(..\Audio\take1.wav)" && Vellox::FileNames::IsSongFile("a.sng") &&
        !Vellox::FileNames::CanPutBack("none") && VelloxFlushFileBuffers(nullptr) == 0 &&
        Vellox::FileNames::CheckFileExistsEvenIfNotAccessible(Vellox::FileNames::GetModuleFilename()) &&
        Vellox::FileNames::WaitForProcess(nullptr, 0) == 0;
    std::cout << relative << (isWhole ? " ok" : " FAILED") << '\n';
    return isWhole ? 0 : 1;
}
