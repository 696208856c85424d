#include "tests/log_capture.h"

#include <algorithm>
#include <mutex>

namespace tvn::tests
{

static std::mutex g_mutex;
static std::vector<std::string> g_lines;

static LONG CALLBACK SeeLine(EXCEPTION_POINTERS* exception)
{
    constexpr DWORD kPrintException = 0x40010006;  // what OutputDebugStringA raises
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == kPrintException) {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_lines.emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

LogCapture::LogCapture()
    : m_handler(AddVectoredExceptionHandler(1, &SeeLine), &RemoveVectoredExceptionHandler)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.clear();
}

std::vector<std::string> LogCapture::Lines(const std::string& start) const
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    auto lines = g_lines;
    std::erase_if(lines, [&](const std::string& line) { return line.rfind(start, 0) != 0; });
    return lines;
}

std::ptrdiff_t LogCapture::Count(const std::string& line) const
{
    return std::ranges::count(Lines(line), line);
}

}  // namespace tvn::tests
