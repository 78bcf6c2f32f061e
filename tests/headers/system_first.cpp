#include <windows.h>

#include "all_headers.h"

bool UseHeadersBehindTheSystems() {
    return UseHeaders();
}
