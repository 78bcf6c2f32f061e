#include "all_headers.h"

#include <windows.h>

bool UseHeadersBeforeTheSystems() {
    return UseHeaders();
}
