#include <windows.h>

#include "all_headers.h"

#include "use_headers.h"

bool UseHeadersBehindTheSystems() {
    return UseHeaders();
}
