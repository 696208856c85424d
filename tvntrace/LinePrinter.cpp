#include "tvntrace/LinePrinter.h"

#include <array>
#include <cstdio>

#include "tvntrace/TraceError.h"

namespace tvn::trace
{
namespace
{

const char* ColourOf(Level level)
{
    switch (level) {
        case Level::Error:
            return "\x1b[91m";
        case Level::Protocol:
            return "\x1b[96m";
        case Level::Debug:
            return "\x1b[90m";
        default:
            return "";
    }
}

boost::shared_ptr<Handle> MakeFile(const std::string& path)
{
    auto file = ShareHandle(CreateFileW(FromUtf8(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                        nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file->IsValid()) {
        throw TraceError("the file '" + path + "' cannot be written; take another for --out",
                         GetLastError());
    }
    return file;
}

std::string Head(const TraceLine& line)
{
    std::array<char, 64> head = {};
    const int length = std::snprintf(head.data(), head.size(), "%02u:%02u:%02u.%03u %6lu %-8s ",
                                     line.time.wHour, line.time.wMinute, line.time.wSecond,
                                     line.time.wMilliseconds, line.pid, NameOf(line.level));
    return {head.data(), static_cast<std::size_t>(length)};
}

}  // namespace

LinePrinter::LinePrinter(const std::string& path) : m_output(GetStdHandle(STD_OUTPUT_HANDLE))
{
    if (!path.empty()) {
        m_file = MakeFile(path);
        m_output = m_file->Get();
        return;
    }
    DWORD mode = 0;
    m_console = GetConsoleMode(m_output, &mode) != FALSE;
    m_colours =
        m_console && SetConsoleMode(m_output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

void LinePrinter::Print(const TraceLine& line) const
{
    const std::string colour = m_colours ? ColourOf(line.level) : "";
    const std::string text =
        colour + Head(line) + line.text + (colour.empty() ? "" : "\x1b[0m") + "\r\n";
    DWORD written = 0;
    BOOL success = FALSE;
    if (m_console) {
        const std::wstring wide = FromUtf8(text);
        success = WriteConsoleW(m_output, wide.data(), static_cast<DWORD>(wide.size()), &written,
                                nullptr);
    } else {
        success =
            WriteFile(m_output, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    }
    if (!success) {
        throw TraceError("the lines cannot be written any more", GetLastError());
    }
}

}  // namespace tvn::trace
