#include "tvntrace/TraceError.h"

#include <array>

#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

TraceError::TraceError(const std::string& text, DWORD error)
    : std::runtime_error(text + " (" + DescribeSystemError(error) + ")")
{}

std::string DescribeSystemError(DWORD error)
{
    std::array<wchar_t, 512> words = {};
    DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, error, 0, words.data(), static_cast<DWORD>(words.size()), nullptr);
    while (length > 0 && (words.at(length - 1) == L' ' || words.at(length - 1) == L'.')) {
        --length;
    }
    const std::string code = "error " + std::to_string(error);
    return length == 0 ? code : code + ": " + ToUtf8({words.data(), length});
}

}  // namespace tvn::trace
