#include "tests/log_capture.h"

#include <mutex>

namespace tests
{
namespace
{

constexpr DWORD kPrintException = 0x40010006;  // what OutputDebugStringA raises

std::mutex g_mutex;
std::vector<std::string> g_lines;

LONG CALLBACK SeeLine(EXCEPTION_POINTERS* exception)
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == kPrintException) {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_lines.emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

LogCapture::LogCapture() : m_handler(AddVectoredExceptionHandler(1, &SeeLine))
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.clear();
}

LogCapture::~LogCapture()
{
    RemoveVectoredExceptionHandler(m_handler);
}

std::vector<std::string> LogCapture::Lines() const
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_lines;
}

std::vector<std::string> LogCapture::Starting(const std::string& start) const
{
    auto lines = Lines();
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [&](const std::string& line) { return line.rfind(start, 0) != 0; }),
                lines.end());
    return lines;
}

}  // namespace tests
