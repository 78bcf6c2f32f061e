#include "lifetime/host.h"

namespace {
const CallsToTheEnd calls;
} // namespace

int main() {
    return CallsToTheEnd::Begin(UseLibrary);
}
