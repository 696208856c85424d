#include "soak/ChildProgram.h"

#include <stdexcept>

#include "soak/Parts.h"
#include "soak/ProgramFolder.h"

namespace soak
{

HANDLE ChildProgram::Start(const std::string& part)
{
    std::string commandLine = "\"" + ProgramPath() + "\" part " + part;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        throw std::runtime_error("this program cannot be started again as " + part);
    }
    CloseHandle(process.hThread);
    return process.hProcess;
}

ChildProgram::ChildProgram(const std::string& part) : m_process(Start(part)) {}

ChildProgram::~ChildProgram()
{
    TerminateProcess(m_process.Get(), 1);
    WaitForSingleObject(m_process.Get(), 5000);
}

DWORD ChildProgram::ExitCode(DWORD milliseconds) const
{
    WaitForSingleObject(m_process.Get(), milliseconds);
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(m_process.Get(), &code);
    return code;
}

int PlayPart(const std::string& part)
{
    if (part == kPartBigReplies) {
        return ServeBigReplies();
    }
    if (part == kPartEndAlive) {
        return EndWithLiveObject();
    }
    if (part == kPartEndWaiting) {
        return EndWhilePlaying();
    }
    return 2;
}

}  // namespace soak
