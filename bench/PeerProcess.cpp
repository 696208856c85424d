#include "bench/PeerProcess.h"

#include "bench/Measure.h"
#include "bench/PeerNames.h"

namespace bench
{
namespace
{

constexpr DWORD kStartTime = 20000;

std::string FolderOfThisProgram()
{
    char path[MAX_PATH] = "";
    const DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string program(path, length);
    return program.substr(0, program.rfind('\\') + 1);
}

PROCESS_INFORMATION Start(const std::string& program, const std::string& arguments)
{
    const bool whole = program.find(':') != std::string::npos;
    const std::string path = whole ? program : FolderOfThisProgram() + program;
    std::string commandLine = "\"" + path + "\" " + arguments;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    Require(CreateProcessA(path.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                           nullptr, &startup, &started) != FALSE,
            "a program that the measurement needs cannot be started");
    CloseHandle(started.hThread);
    return started;
}

std::string ReadyName()
{
    static int number = 0;
    return "talvern-bench-" + std::to_string(GetCurrentProcessId()) + "-" +
           std::to_string(++number);
}

HWND WindowOf(DWORD process)
{
    HWND window = nullptr;
    DWORD owner = 0;
    do {
        window = FindWindowExW(nullptr, window, kPeerWindowClass, nullptr);
        GetWindowThreadProcessId(window, &owner);
    } while (window != nullptr && owner != process);
    return window;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::string& arguments)
    : ChildProcess(Start(program, arguments))
{}

ChildProcess::ChildProcess(const PROCESS_INFORMATION& started) noexcept
    : m_process(started.hProcess), m_id(started.dwProcessId)
{}

ChildProcess::~ChildProcess()
{
    TerminateProcess(m_process.Get(), 0);
    WaitForSingleObject(m_process.Get(), kStartTime);
}

PeerProcess::PeerProcess(const std::string& arguments) : PeerProcess(ReadyName(), arguments) {}

PeerProcess::PeerProcess(const std::string& readyName, const std::string& arguments)
    : m_ready(CreateEventA(nullptr, TRUE, FALSE, readyName.c_str())),
      m_process("peer\\talvern.exe", arguments + " ready=" + readyName)
{
    Require(WaitForSingleObject(m_ready.Get(), kStartTime) == WAIT_OBJECT_0,
            "the peer does not come up");
    m_pipeName = PipeNameOf(WindowOf(m_process.Id()));
}

}  // namespace bench
