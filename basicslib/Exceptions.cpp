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
    return ToComString(FormatText(text, sizeof text,
                                  "AssertException. Failed expression: %s, file: %s, line: %d",
                                  m_expression, m_file, m_line));
}

ComString Win32Exception::Describe(const char* name) const
{
    char text[1024];
    return ToComString(FormatText(text, sizeof text, "%s( 0x%08X ), line: %d, file: %s", name,
                                  static_cast<unsigned int>(m_error), m_line, m_file));
}

}  // namespace tvn
