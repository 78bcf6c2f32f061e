#pragma once

#include <utility>

#include "platform/win32.h"

namespace Vellox {

// Owns one thing of the system's and gives it back at the end of its scope. Traits tell what the thing is, which value
// stands for none, and how it is given back. A clean-up never changes the thread's last error.
template <typename Traits> class Guard {
public:
    using Value = typename Traits::Value;

    Guard() = default;
    explicit Guard(Value value) : value_(value) {}
    Guard(Guard&& other) noexcept : value_(other.Release()) {}
    Guard& operator=(Guard&& other) noexcept {
        const Guard before(std::exchange(value_, other.Release()));
        return *this;
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() {
        if (value_ != Traits::None())
            Traits::GiveBack(value_);
    }

    explicit operator bool() const { return value_ != Traits::None(); }
    Value Get() const { return value_; }
    Value Release() { return std::exchange(value_, Traits::None()); }

private:
    Value value_ = Traits::None();
};

// INVALID_HANDLE_VALUE, not null, is what CreateFileW and FindFirstFileW give for no handle.
struct FileTraits {
    using Value = HANDLE;
    static HANDLE None() { return INVALID_HANDLE_VALUE; }
    static void GiveBack(HANDLE handle) {
        const DWORD error = ::GetLastError();
        ::CloseHandle(handle);
        ::SetLastError(error);
    }
};
using FileHandle = Guard<FileTraits>;

struct SearchTraits {
    using Value = HANDLE;
    static HANDLE None() { return INVALID_HANDLE_VALUE; }
    static void GiveBack(HANDLE search) {
        const DWORD error = ::GetLastError();
        ::FindClose(search);
        ::SetLastError(error);
    }
};
using SearchHandle = Guard<SearchTraits>;

} // namespace Vellox
