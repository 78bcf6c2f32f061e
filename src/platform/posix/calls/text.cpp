#include "platform/posix/base/errors.h"
#include "platform/posix/base/utf.h"
#include "platform/posix/win32.h"

using namespace Vellox::Posix;

namespace {

// The answer of both Win32 conversions: the units of the result, or 0.
int Answer(std::size_t units) {
    if (units == doesNotFit)
        return static_cast<int>(Fail(ERROR_INSUFFICIENT_BUFFER));
    return static_cast<int>(units);
}

} // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, const char* text, int length, WCHAR* buffer, int capacity) {
    if (codePage != CP_UTF8 || flags != 0 || length <= 0 || capacity <= 0)
        return static_cast<int>(Fail(ERROR_INVALID_PARAMETER));
    return Answer(DecodeUtf8(text, static_cast<std::size_t>(length), buffer, static_cast<std::size_t>(capacity)));
}

int WideCharToMultiByte(UINT codePage, DWORD flags, const WCHAR* text, int length, char* buffer, int capacity,
                        const char* defaultCharacter, BOOL* usedDefaultCharacter) {
    if (codePage != CP_UTF8 || flags != 0 || length <= 0 || capacity <= 0 || defaultCharacter != nullptr ||
        usedDefaultCharacter != nullptr)
        return static_cast<int>(Fail(ERROR_INVALID_PARAMETER));
    return Answer(EncodeUtf8(text, static_cast<std::size_t>(length), buffer, static_cast<std::size_t>(capacity)));
}
