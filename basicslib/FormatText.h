#pragma once

#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace tvn
{

/// Formats narrow text into a buffer of `size` bytes (at least 1), truncates what does not fit and
/// always null-terminates the text. Returns a view of the text in the buffer, without the
/// terminator.
///
/// The formats are printf's as the Windows C runtime reads them: `%s` takes narrow and `%S` wide
/// text, both print a null pointer as "(null)"; `%d`, `%i`, `%u`, `%x` and `%X` take 32-bit
/// integers with flags and a width. Unlike the runtime's own functions it never fails on wide text:
/// a character that the ANSI code page lacks becomes the replacement character. Allocates nothing,
/// throws nothing, takes no lock.
std::string_view FormatText(char* buffer, std::size_t size, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));

/// The same with the arguments as a list, which the call consumes.
std::string_view FormatTextV(char* buffer, std::size_t size, const char* format,
                             std::va_list arguments) noexcept __attribute__((format(printf, 3, 0)));

}  // namespace tvn
