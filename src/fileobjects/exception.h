#pragma once

#include <string>

// The library's own failure, raised by the file classes and the catalogue and caught inside the library. It stands
// outside the standard exceptions, so that no handler for those takes it.
class VelloxException {
public:
    explicit VelloxException(const char* text) : message(text != nullptr ? text : "") {}
    VelloxException(const VelloxException&) = default;
    VelloxException& operator=(const VelloxException&) = default;
    virtual ~VelloxException() = default;

protected:
    std::string message;
};
