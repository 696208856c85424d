#include "basicslib/Exceptions.h"

#include <cstring>

#include "basicslib/FormatText.h"

namespace tvn
{
namespace
{

template <std::size_t Size>
void CopyText(char (&target)[Size], const char* source) noexcept
{
    const std::size_t length = strnlen(source, Size - 1);
    std::memcpy(target, source, length);
    target[length] = '\0';
}

}  // namespace

BaseException::BaseException() noexcept : m_file(), m_line(0) {}

BaseException::BaseException(const char* file, int line) noexcept : m_file(), m_line(line)
{
    CopyText(m_file, file);
}

ComString BaseException::GetDescription() const
{
    return ToComString("BaseException");
}

AssertException::AssertException(const char* expression, const char* file, int line) noexcept
    : m_expression(), m_file(), m_line(line)
{
    CopyText(m_expression, expression);
    CopyText(m_file, file);
}

ComString AssertException::GetDescription() const
{
    char text[sizeof m_expression + sizeof m_file + 128];
    const std::size_t length =
        FormatText(text, sizeof text, "AssertException. Failed expression: %s, file: %s, line: %d",
                   m_expression, m_file, m_line);
    return ToComString(std::string_view(text, length));
}

Win32Exception::Win32Exception(DWORD error, const char* file, int line) noexcept
    : BaseException(file, line), m_error(error)
{}

ComString Win32Exception::GetDescription() const
{
    return Describe("Win32Exception");
}

ComString Win32Exception::Describe(const char* name) const
{
    char text[1024];
    const std::size_t length = FormatText(text, sizeof text, "%s( 0x%08X ), line: %d, file: %s",
                                          name, static_cast<unsigned int>(m_error), m_line, m_file);
    return ToComString(std::string_view(text, length));
}

ComString InvalidOperationException::GetDescription() const
{
    return ToComString("InvalidOperationException");
}

ComString PipeException::GetDescription() const
{
    return Describe(GetName());
}

const char* PipeException::GetName() const noexcept
{
    return "PipeException";
}

const char* ReadPipeTimeout::GetName() const noexcept
{
    return "ReadPipeTimeout";
}

const char* PipeInterrupted::GetName() const noexcept
{
    return "PipeInterrupted";
}

const char* ReadPipeError::GetName() const noexcept
{
    return "ReadPipeError";
}

const char* WritePipeError::GetName() const noexcept
{
    return "WritePipeError";
}

}  // namespace tvn
