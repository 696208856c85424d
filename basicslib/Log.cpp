#include "basicslib/Log.h"

#include <windows.h>

#include <cstdarg>
#include <cstring>

#include "basicslib/FormatText.h"

namespace tvn
{
namespace
{

constexpr std::size_t kTextSize = 1024;

template <std::size_t TagSize>
__attribute__((format(printf, 2, 0))) void WriteLine(const char (&tag)[TagSize], const char* format,
                                                     std::va_list arguments) noexcept
{
    char line[TagSize - 1 + kTextSize];
    std::memcpy(line, tag, TagSize - 1);
    FormatTextV(line + TagSize - 1, kTextSize, format, arguments);
    OutputDebugStringA(line);
}

}  // namespace

void LogDebug(const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    WriteLine("[tvn::debug] ", format, arguments);
    va_end(arguments);
}

void LogError(const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    WriteLine("[................tvn::error] ", format, arguments);
    va_end(arguments);
}

void LogProtocol(const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    WriteLine("[tvn::HI_LEVEL_PROTOCOL] ", format, arguments);
    va_end(arguments);
}

}  // namespace tvn
