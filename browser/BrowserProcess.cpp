#include "browser/BrowserProcess.h"

#include <fstream>
#include <sstream>

#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "browser/BrowserError.h"
#include "browser/HostSystem.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

constexpr DWORD kPause = 10;

/// What the browser is started with, whoever's machine it is: a port of its own choice, no dialogs
/// of a first run, nothing that goes on behind a play's back, and pages that are as quick when
/// nobody looks at them.
constexpr const wchar_t* kArguments =
    L" --remote-debugging-port=0 --no-first-run --no-default-browser-check"
    L" --disable-background-networking --disable-component-update --disable-default-apps"
    L" --disable-sync --disable-search-engine-choice-screen --disable-popup-blocking"
    L" --disable-prompt-on-repost --disable-hang-monitor --disable-session-crashed-bubble"
    L" --hide-crash-restore-bubble --metrics-recording-only --password-store=basic"
    L" --use-mock-keychain --disable-background-timer-throttling --disable-renderer-backgrounding"
    L" --disable-backgrounding-occluded-windows"
    L" --disable-features=BackForwardCache,CalculateNativeWinOcclusion,Translate,"
    L"DialMediaRouteProvider,OptimizationHints";

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

std::wstring CommandLine(const BrowserChoice& choice, const std::wstring& profile)
{
    const bool onHost = IsHostProgram(choice.program);
    std::wstring line = L"\"" + choice.program + L"\"";
    line += kArguments;
    line += L" \"--user-data-dir=" + (onHost ? HostPath(profile) : profile) + L"\"";
    return line + L" " + choice.arguments + L" about:blank";
}

std::string ReadWhole(const std::wstring& path)
{
    std::ifstream file(path.c_str(), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace

BrowserProcess::BrowserProcess(const BrowserChoice& choice, const std::wstring& profile)
    : m_profile(profile), m_program(choice.program), m_job(NewJob())
{
    // The browser's own output goes into its profile: it may outlive whatever this process was
    // given, and tells why a browser does not come up.
    const tvn::Handle output(OpenInherited(OutputFile(profile), GENERIC_WRITE, CREATE_ALWAYS));
    const tvn::Handle input(OpenInherited(L"NUL", GENERIC_READ, OPEN_EXISTING));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.Get();
    startup.hStdOutput = output.Get();
    startup.hStdError = output.Get();
    PROCESS_INFORMATION started = {};
    std::wstring line = CommandLine(choice, profile);
    tvn::LogDebug("starting %S", line.c_str());
    if (!CreateProcessW(choice.program.c_str(), line.data(), nullptr, nullptr, TRUE,
                        IsHostProgram(choice.program) ? 0 : CREATE_SUSPENDED, nullptr, nullptr,
                        &startup, &started)) {
        throw BrowserError("The browser " + ToUtf8(choice.program) + " cannot be started (error " +
                           std::to_string(GetLastError()) + ").");
    }
    m_process = tvn::ShareHandle(started.hProcess);
    const tvn::Handle thread(started.hThread);
    if (m_process->IsValid()) {
        // Before it runs, so that none of its own processes escapes.
        AssignProcessToJobObject(m_job.Get(), m_process->Get());
        ResumeThread(thread.Get());
    }
}

BrowserProcess::Endpoint BrowserProcess::ReadEndpoint(const std::wstring& profile)
{
    // The port and the path of the browser's own target, a line each.
    std::istringstream file(ReadWhole(profile + L"\\DevToolsActivePort"));
    Endpoint endpoint = {0, ""};
    return file >> endpoint.port >> endpoint.path ? endpoint : Endpoint{0, ""};
}

BrowserProcess::Endpoint BrowserProcess::WaitForEndpoint(DWORD timeout) const
{
    const tvn::TimeBudget budget(timeout);
    for (;;) {
        Endpoint endpoint = ReadEndpoint(m_profile);
        if (endpoint.port != 0) {
            return endpoint;
        }
        const bool ended = m_process->IsValid() && WaitForEnd(0);
        if (ended || budget.Remaining() == 0) {
            const std::string printed = ReadWhole(OutputFile(m_profile));
            throw BrowserError("The browser " + ToUtf8(m_program) +
                               (ended ? " ended at once." : " does not come up.") +
                               (printed.empty() ? "" : " It has printed: " + printed));
        }
        Sleep(kPause);
    }
}

bool BrowserProcess::WaitForEnd(DWORD timeout) const
{
    if (m_process->IsValid()) {
        return WaitForSingleObject(m_process->Get(), timeout) == WAIT_OBJECT_0;
    }
    const tvn::TimeBudget budget(timeout);
    while (m_hostPid != 0 && RunsOnHost(m_hostPid)) {
        if (budget.Remaining() == 0) {
            return false;
        }
        Sleep(kPause);
    }
    return true;
}

}  // namespace browser
