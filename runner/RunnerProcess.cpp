#include "runner/RunnerProcess.h"

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/StatusCode.h"
#include "basicslib/TimeBudget.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerRequest.h"

namespace tvn
{

int RunnerProcess::Start(ComString appPath, ComString cmdLine, ComString user, ComString domain,
                         ComString password, DWORD timeoutMs)
{
    const TimeBudget budget(timeoutMs);
    const auto request = boost::make_shared<MsgStart>();
    request->appPath = appPath;
    request->cmdLine = cmdLine;
    request->user = user;
    request->domain = domain;
    request->password = password;
    try {
        RunnerRequest exchange;
        exchange.OpenPipe(budget.Remaining() * 2 / 3);
        const auto reply = exchange.Exchange<MsgStartComplete>(request, budget.Remaining());
        if (!reply) {
            return sFail;
        }
        m_processKey = reply->processKey;
        m_pid = reply->pid;
        return reply->result;
    } catch (const PipeException& exception) {
        return ResultOfFailure(exception, sRunnerNotReachable);
    }
}

int RunnerProcess::Terminate(DWORD timeoutMs)
{
    const TimeBudget budget(timeoutMs);
    const auto request = boost::make_shared<MsgTerminate>();
    request->processKey = m_processKey;
    while (budget.Remaining() != 0) {
        try {
            const auto reply = RunnerRequest().Exchange<MsgTerminateComplete>(request, timeoutMs);
            return reply ? reply->result : sFail;
        } catch (const PipeException& exception) {
            if (exception.GetError() != ERROR_PIPE_BUSY) {
                return ResultOfFailure(exception, sFail);
            }
        }
    }
    return sTimeout;
}

int RunnerProcess::GetProcessesByName(ComString name,
                                      std::vector<boost::shared_ptr<IProcess>>& processes,
                                      DWORD timeoutMs)
{
    processes.clear();
    const auto request = boost::make_shared<MsgGetProcessesByName>();
    request->processName = name;
    boost::shared_ptr<MsgGetProcessesByNameComplete> reply;
    const int result = Ask(request, timeoutMs, reply);
    if (result == sOk) {
        for (std::size_t index = 0; index < reply->pids.size(); ++index) {
            processes.emplace_back(
                boost::make_shared<RunnerProcess>(reply->processKeys[index], reply->pids[index]));
        }
    }
    return result;
}

int RunnerProcess::WaitForExit(DWORD timeoutMs)
{
    const auto request = boost::make_shared<MsgWaitForExit>();
    request->timeout = timeoutMs;
    request->processKey = m_processKey;
    try {
        const auto reply = RunnerRequest().Exchange<MsgWaitForExitComplete>(request, timeoutMs);
        return reply ? reply->result : sFail;
    } catch (const ReadPipeTimeout&) {
        return sTimeout;
    } catch (const PipeException& exception) {
        return ResultOfFailure(exception, sFail);
    }
}

}  // namespace tvn
