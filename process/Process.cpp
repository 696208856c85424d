#include "process/Process.h"

#include <psapi.h>

#include <boost/make_shared.hpp>

#include "basicslib/StatusCode.h"
#include "process/ProcessCreator.h"
#include "process/ProcessFileName.h"

namespace tvn
{

int Process::Start(ComString appPath, ComString cmdLine, ComString user, ComString domain,
                   ComString password, DWORD timeoutMs)
{
    int result = sFail;
    PROCESS_INFORMATION processInfo = {};
    const auto handle = boost::make_shared<Handle>([&] {
        result = ProcessCreator().Create(appPath, cmdLine, user, domain, password, timeoutMs,
                                         processInfo);
        const Handle thread(processInfo.hThread);  // of no use to anybody
        return processInfo.hProcess;
    });
    if (result != sOk) {
        return result;
    }
    m_handle = handle;
    m_pid = processInfo.dwProcessId;
    return sOk;
}

int Process::Terminate(DWORD /*timeoutMs*/)
{
    constexpr UINT kExitCode = 0xFFFFFFFF;
    return HoldsProcess() && TerminateProcess(m_handle->Get(), kExitCode) ? sOk : sFail;
}

int Process::GetProcessesByName(ComString name, std::vector<boost::shared_ptr<IProcess>>& processes,
                                DWORD /*timeoutMs*/)
{
    constexpr DWORD kMaxProcesses = 1024;

    processes.clear();
    DWORD pids[kMaxProcesses];
    DWORD bytes = 0;
    if (!EnumProcesses(pids, sizeof pids, &bytes)) {
        return sFail;
    }
    for (DWORD index = 0; index < bytes / sizeof pids[0]; ++index) {
        const auto handle = boost::make_shared<Handle>(
            [&] { return OpenProcess(kProcessAccess, FALSE, pids[index]); });
        if (handle->IsValid() && HasProcessFileName(handle->Get(), name)) {
            processes.emplace_back(boost::make_shared<Process>(handle, pids[index]));
        }
    }
    return sOk;
}

int Process::WaitForExit(DWORD timeoutMs)
{
    if (!HoldsProcess()) {
        return sFail;
    }
    const DWORD waited = WaitForSingleObject(m_handle->Get(), timeoutMs);
    if (waited == WAIT_TIMEOUT) {
        return sTimeout;
    }
    return waited == WAIT_OBJECT_0 ? sOk : sFail;
}

}  // namespace tvn
