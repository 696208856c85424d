#include "basicslib/Exceptions.h"

#include "basicslib/FormatText.h"

namespace tvn
{

BaseException::BaseException(const char* file, int line) noexcept : m_line(line)
{
    FormatText(m_file, sizeof m_file, "%s", file);
}

AssertException::AssertException(const char* expression, const char* file, int line) noexcept
    : m_expression(), m_file(), m_line(line)
{
    FormatText(m_expression, sizeof m_expression, "%s", expression);
    FormatText(m_file, sizeof m_file, "%s", file);
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

ComString Win32Exception::Describe(const char* name) const
{
    char text[1024];
    const std::size_t length = FormatText(text, sizeof text, "%s( 0x%08X ), line: %d, file: %s",
                                          name, static_cast<unsigned int>(m_error), m_line, m_file);
    return ToComString(std::string_view(text, length));
}

}  // namespace tvn
