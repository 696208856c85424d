#include "basicslib/FormatText.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace tvn
{
namespace
{

constexpr const char* kNullText = "(null)";
constexpr std::size_t kLongestConversion = 15;

/// Whether this letter, behind `prefix` bytes, is a conversion of a number.
bool IsNumber(char letter, std::size_t prefix) noexcept
{
    constexpr std::string_view kLetters = "diuxX";
    return prefix < kLongestConversion && kLetters.find(letter) != std::string_view::npos;
}

/// Builds a text in the caller's buffer and drops what no longer fits.
class Output
{
  public:
    Output(char* buffer, std::size_t size) noexcept : m_buffer(buffer), m_room(size - 1) {}

    void Append(const char* text, std::size_t length) noexcept
    {
        const std::size_t fits = std::min(length, m_room - m_used);
        std::memcpy(m_buffer + m_used, text, fits);
        m_used += fits;
    }

    void AppendNarrow(const char* text) noexcept
    {
        const char* shown = text == nullptr ? kNullText : text;
        Append(shown, strnlen(shown, m_room - m_used));
    }

    /// Converts in pieces that fit a stack buffer, and stops when the output is full: the cost of
    /// logging a macro of many megabytes is bounded by the length of the log line.
    void AppendWide(const wchar_t* text) noexcept
    {
        if (text == nullptr) {
            AppendNarrow(kNullText);
            return;
        }
        constexpr std::size_t kPiece = 256;
        constexpr int kBytesPerUnit = 4;
        char narrow[kPiece * kBytesPerUnit];
        while (m_used < m_room) {
            std::size_t units = wcsnlen(text, kPiece);
            if (units == kPiece && IS_HIGH_SURROGATE(text[units - 1])) {
                --units;  // its other half opens the next piece
            }
            if (units == 0) {
                return;
            }
            const int bytes =
                WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(units), narrow,
                                    static_cast<int>(sizeof narrow), nullptr, nullptr);
            Append(narrow, static_cast<std::size_t>(bytes));
            text += units;
        }
    }

    /// The first `length` bytes of `conversion`, at most `kLongestConversion`, format one number.
    void AppendNumber(const char* conversion, std::size_t length, unsigned int value) noexcept
    {
        char format[kLongestConversion + 1];
        char digits[64];
        std::memcpy(format, conversion, length);
        format[length] = '\0';
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        std::snprintf(digits, sizeof digits, format, value);
#pragma GCC diagnostic pop
        AppendNarrow(digits);
    }

    std::string_view Finish() noexcept
    {
        m_buffer[m_used] = '\0';
        return {m_buffer, m_used};
    }

  private:
    char* m_buffer;
    std::size_t m_room;
    std::size_t m_used = 0;
};

}  // namespace

std::string_view FormatText(char* buffer, std::size_t size, const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::string_view text = FormatTextV(buffer, size, format, arguments);
    va_end(arguments);
    return text;
}

std::string_view FormatTextV(char* buffer, std::size_t size, const char* format,
                             std::va_list arguments) noexcept
{
    Output output(buffer, size);
    while (*format != '\0') {
        const std::size_t plain = std::strcspn(format, "%");
        output.Append(format, plain);
        format += plain;
        if (*format == '\0') {
            break;
        }
        // One conversion: '%', flags and width, and the letter that names the argument's type.
        const std::size_t prefix = 1 + std::strspn(format + 1, "-+ #0123456789");
        const char letter = format[prefix];
        switch (letter) {
            case 's':
                output.AppendNarrow(va_arg(arguments, const char*));
                break;
            case 'S':
                output.AppendWide(va_arg(arguments, const wchar_t*));
                break;
            case '%':
                output.Append("%", 1);
                break;
            default:
                if (!IsNumber(letter, prefix)) {
                    // The type of this argument is unknown, so those after it cannot be read
                    // either.
                    output.AppendNarrow(format);
                    return output.Finish();
                }
                output.AppendNumber(format, prefix + 1, va_arg(arguments, unsigned int));
        }
        format += prefix + 1;
    }
    return output.Finish();
}

}  // namespace tvn
