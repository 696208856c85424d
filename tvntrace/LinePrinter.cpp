#include "tvntrace/LinePrinter.h"

#include <array>
#include <boost/locale/encoding_utf.hpp>
#include <boost/system/system_error.hpp>
#include <cstdio>

using boost::locale::conv::utf_to_utf;

namespace tvn::trace
{

LinePrinter::LinePrinter(const std::wstring& path) : m_output(GetStdHandle(STD_OUTPUT_HANDLE))
{
    if (!path.empty()) {
        m_file = boost::make_shared<Handle>([&] {
            return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
        });
        m_output = m_file->Get();
        if (!m_file->IsValid()) {
            throw boost::system::system_error(
                static_cast<int>(GetLastError()), boost::system::system_category(),
                "the file '" + utf_to_utf<char>(path) + "' cannot be written; choose another");
        }
    }
    DWORD mode = 0;
    m_console = GetConsoleMode(m_output, &mode) != FALSE;
    m_colours =
        m_console && SetConsoleMode(m_output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

void LinePrinter::Print(const TraceLine& line) const
{
    const LevelForm& form = kLevels.at(static_cast<std::size_t>(line.level));
    const bool coloured = m_colours && *form.colour != '\0';
    std::array<char, 64> head = {};
    std::snprintf(head.data(), head.size(), "%02u:%02u:%02u.%03u %6lu %-8s ", line.time.wHour,
                  line.time.wMinute, line.time.wSecond, line.time.wMilliseconds, line.pid,
                  form.name);
    const std::string text = (coloured ? form.colour : "") + (head.data() + line.text) +
                             (coloured ? "\x1b[0m\r\n" : "\r\n");
    const std::wstring wide = utf_to_utf<wchar_t>(text);
    DWORD written = 0;
    if (m_console ? !WriteConsoleW(m_output, wide.data(), static_cast<DWORD>(wide.size()), &written,
                                   nullptr)
                  : !WriteFile(m_output, text.data(), static_cast<DWORD>(text.size()), &written,
                               nullptr)) {
        throw boost::system::system_error(static_cast<int>(GetLastError()),
                                          boost::system::system_category(),
                                          "the lines cannot be written any more");
    }
}

}  // namespace tvn::trace
