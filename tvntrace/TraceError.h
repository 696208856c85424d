#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace tvn::trace
{

/// What ends the viewer. The text says what happened, to what, and what to do.
class TraceError : public std::runtime_error
{
  public:
    explicit TraceError(const std::string& text) : std::runtime_error(text) {}

    /// With the system's words for `error`, a code of GetLastError.
    TraceError(const std::string& text, DWORD error);
};

/// The system's words for a code of GetLastError, in UTF-8 and on one line: "error 2: File not
/// found".
std::string DescribeSystemError(DWORD error);

}  // namespace tvn::trace
