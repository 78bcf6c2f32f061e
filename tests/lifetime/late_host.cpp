#include <dlfcn.h>

#include "lifetime/host.h"

namespace {
const CallsToTheEnd
    calls; // made before the library is loaded, so destroyed after all that the library made at its load
} // namespace

int main(int /*count*/, char** arguments) {
    void* module = ::dlopen(arguments[1], RTLD_NOW);
    return module == nullptr ? 1 : CallsToTheEnd::Begin(reinterpret_cast<bool (*)()>(::dlsym(module, "UseLibrary")));
}
