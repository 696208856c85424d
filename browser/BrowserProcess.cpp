#include "browser/BrowserProcess.h"

#include <fstream>
#include <utility>

#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "browser/BrowserError.h"
#include "browser/HostSystem.h"
#include "browser/InheritedHandles.h"
#include "browser/PipePair.h"
#include "browser/Switches.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

constexpr DWORD kStartPause = 3;
constexpr DWORD kEndPause = 2;
constexpr DWORD kEndTime = 200;

std::wstring OutputFile(const std::wstring& profile)
{
    return profile + L"\\output.txt";
}

HANDLE OpenInherited(const std::wstring& path, DWORD access, DWORD disposition)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       &inherited, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE NewJob()
{
    HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

std::string ReadStart(const std::wstring& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    std::string text(4096, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

BrowserError CannotBeStarted(const std::wstring& program)
{
    return BrowserError("The browser " + ToUtf8(program) + " cannot be started (error " +
                        std::to_string(GetLastError()) + ").");
}

std::wstring HandleText(HANDLE handle)
{
    return std::to_wstring(reinterpret_cast<ULONG_PTR>(handle));
}

}  // namespace

BrowserProcess::BrowserProcess(BrowserChoice choice, std::wstring profile)
    : m_choice(std::move(choice)),
      m_profile(std::move(profile)),
      m_isOnHost(IsHostProgram(m_choice.program)),
      m_job(NewJob())
{}

Pipes BrowserProcess::Start(DWORD timeout)
{
    return m_isOnHost ? StartOnHost(timeout) : StartOnWindows();
}

Pipes BrowserProcess::StartOnHost(DWORD timeout)
{
    const tvn::TimeBudget budget(timeout);
    BrowserChoice choice = m_choice;
    choice.program = HostPath(choice.program);
    const std::wstring line =
        BrowserCommandLine(choice, HostPath(m_profile), L"--remote-debugging-pipe");
    tvn::LogDebug("starting %S", line.c_str());
    if (!browser::StartOnHost(m_profile, line)) {
        throw CannotBeStarted(m_choice.program);
    }
    for (;;) {
        Pipes pipes = OpenHostPipes(m_profile);
        if (pipes.toBrowser) {
            return pipes;
        }
        if (budget.Remaining() == 0 || HasEnded()) {
            throw BrowserError(DescribeFailure("It is not given its pipes."));
        }
        Sleep(kStartPause);
    }
}

Pipes BrowserProcess::StartOnWindows()
{
    const PipePair input = NewPipePair(PIPE_ACCESS_OUTBOUND);
    const PipePair output = NewPipePair(PIPE_ACCESS_INBOUND);
    // The browser's own output goes into its profile: it may outlive whatever this process was
    // given, and tells why a browser does not come up.
    const tvn::Handle printed(OpenInherited(OutputFile(m_profile), GENERIC_WRITE, CREATE_ALWAYS));
    const tvn::Handle nothing(OpenInherited(L"NUL", GENERIC_READ, OPEN_EXISTING));
    InheritedHandles handles(nothing.Get(), printed.Get(),
                             {input.browsers->Get(), output.browsers->Get()});
    PROCESS_INFORMATION started = {};
    std::wstring line = BrowserCommandLine(m_choice, m_profile,
                                           L"--remote-debugging-pipe --remote-debugging-io-pipes=" +
                                               HandleText(input.browsers->Get()) + L"," +
                                               HandleText(output.browsers->Get()));
    tvn::LogDebug("starting %S", line.c_str());
    bool hasStarted = false;
    const auto process = boost::make_shared<tvn::Handle>([&] {
        hasStarted = CreateProcessW(m_choice.program.c_str(), line.data(), nullptr, nullptr, TRUE,
                                    EXTENDED_STARTUPINFO_PRESENT | CREATE_SUSPENDED, nullptr,
                                    nullptr, handles.StartupInfo(), &started) != FALSE;
        return started.hProcess;
    });
    if (!hasStarted) {
        throw CannotBeStarted(m_choice.program);
    }
    m_process = process;
    const tvn::Handle thread(started.hThread);
    // Before it runs, so that none of its own processes escapes.
    if (!AssignProcessToJobObject(m_job.Get(), m_process->Get())) {
        const DWORD error = GetLastError();
        TerminateProcess(m_process->Get(), 1);
        throw BrowserError("The browser cannot be made to end with its instance (error " +
                           std::to_string(error) + ").");
    }
    ResumeThread(thread.Get());
    return {input.own, output.own};
}

std::string BrowserProcess::DescribeFailure(const std::string& reason) const
{
    // Its end is known a little later than that of its pipes.
    const bool ended = (m_isOnHost || m_process) && WaitForEnd(kEndTime);
    const std::string printed = ReadStart(OutputFile(m_profile));
    return "The browser " + ToUtf8(m_choice.program) +
           (ended ? " ended at once. " : " does not come up. ") + reason +
           (printed.empty() ? "" : " It has printed: " + printed);
}

bool BrowserProcess::HasEnded() const
{
    if (m_isOnHost) {
        return HasEndedOnHost(m_profile);
    }
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION job = {};
    return QueryInformationJobObject(m_job.Get(), JobObjectBasicAccountingInformation, &job,
                                     sizeof job, nullptr) &&
           job.ActiveProcesses == 0;
}

bool BrowserProcess::WaitForEnd(DWORD timeout) const
{
    const tvn::TimeBudget budget(timeout);
    while (!HasEnded()) {
        if (budget.Remaining() == 0) {
            return false;
        }
        Sleep(kEndPause);
    }
    return true;
}

bool BrowserProcess::EndByForce(DWORD timeout, bool removesProfile)
{
    if (m_isOnHost) {
        EndOnHost(m_profile, removesProfile);
    } else {
        TerminateJobObject(m_job.Get(), 1);
    }
    return WaitForEnd(timeout);
}

}  // namespace browser
