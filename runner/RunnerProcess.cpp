#include "runner/RunnerProcess.h"

#include <boost/make_shared.hpp>

#include "basicslib/StatusCode.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerRequest.h"

namespace tvn
{

int RunnerProcess::Start(ComString appPath, ComString cmdLine, ComString user, ComString domain,
                         ComString password, DWORD timeoutMs)
{
    const auto request = boost::make_shared<MsgStart>();
    request->appPath = appPath;
    request->cmdLine = cmdLine;
    request->user = user;
    request->domain = domain;
    request->password = password;
    boost::shared_ptr<MsgStartComplete> answer;
    const int result = Ask(request,
                           {.time = timeoutMs,
                            .openTime = timeoutMs * 2 / 3,
                            .lateAnswer = sRunnerNotReachable,
                            .failure = sRunnerNotReachable},
                           answer);
    if (answer) {
        m_processKey = answer->processKey;
        m_pid = answer->pid;
    }
    return result;
}

int RunnerProcess::Terminate(DWORD timeoutMs)
{
    if (timeoutMs == 0) {
        return sTimeout;
    }
    const auto request = boost::make_shared<MsgTerminate>();
    request->processKey = m_processKey;
    boost::shared_ptr<MsgTerminateComplete> answer;
    return Ask(request, {.time = timeoutMs, .busyPipe = BusyPipe::kIsTriedAgain}, answer);
}

int RunnerProcess::GetProcessesByName(ComString name,
                                      std::vector<boost::shared_ptr<IProcess>>& processes,
                                      DWORD timeoutMs)
{
    processes.clear();
    const auto request = boost::make_shared<MsgGetProcessesByName>();
    request->processName = name;
    boost::shared_ptr<MsgGetProcessesByNameComplete> answer;
    const int result = Ask(request, {.time = timeoutMs}, answer);
    if (result == sOk) {
        for (std::size_t index = 0; index < answer->pids.size(); ++index) {
            processes.emplace_back(
                boost::make_shared<RunnerProcess>(answer->processKeys[index], answer->pids[index]));
        }
    }
    return result;
}

int RunnerProcess::WaitForExit(DWORD timeoutMs)
{
    const auto request = boost::make_shared<MsgWaitForExit>();
    request->timeout = timeoutMs;
    request->processKey = m_processKey;
    boost::shared_ptr<MsgWaitForExitComplete> answer;
    return Ask(request, {.time = timeoutMs, .lateAnswer = sTimeout}, answer);
}

}  // namespace tvn
