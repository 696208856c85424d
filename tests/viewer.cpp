#include "tests/viewer.h"

#include <gtest/gtest.h>

#include <regex>

#include "tests/moments.h"

namespace tvn::tests
{

std::string ViewerLine(const std::string& arguments)
{
    return "\"" + BuildFolder() + "\\tvntrace\\tvntrace.exe\" " + arguments;
}

std::string WithoutTimesAndProcesses(const std::string& lines)
{
    return std::regex_replace(lines, std::regex("\\d\\d:\\d\\d:\\d\\d\\.\\d{3} +\\d+ "), "");
}

Viewer::Viewer(const std::string& arguments, const std::string& path)
    : m_path(path.empty() ? TempFile("lines.txt") : path),
      m_process(StartedInto(nullptr, ViewerLine("--out \"" + m_path + "\" " + arguments)))
{
    EXPECT_TRUE(Eventually([] {
        const Handle buffer(OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER"));
        return buffer.IsValid();
    }));
}

void Viewer::AskToEnd() const
{
    // Without a console nobody sends the request; this is how a console does.
    const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase"), "CtrlRoutine")));
    const Handle request(
        CreateRemoteThread(m_process->Get(), nullptr, 0, routine, CTRL_C_EVENT, 0, nullptr));
    WaitForSingleObject(request.Get(), 5000);
}

std::string Viewer::End() const
{
    AskToEnd();
    EXPECT_EQ(ExitCode(), 0U);
    return Lines();
}

}  // namespace tvn::tests
