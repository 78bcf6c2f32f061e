#include "platform/win32.h"

// The library takes no notice of threads that come and go.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH)
        ::DisableThreadLibraryCalls(module);
    return TRUE;
}
