#include "all_headers.h"

#include <windows.h>

#include "use_headers.h"

bool UseHeadersBeforeTheSystems() {
    return UseHeaders();
}
