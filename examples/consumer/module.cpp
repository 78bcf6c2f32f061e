#include <vellox/frame.h>

// Another module of the host's process.
void StoreFromModule() {
    Vellox::Threading::mainThreadId = 42;
    testsRunning = true;
    isDoingStressTest = 7;
    SetUIScaleFactor(1.5F);
}
