// A stand-in for the runner service, and an example for whoever writes the real one. It serves the
// runner's pipe, starts browsers under its own account and names each by a key, and finds, awaits
// and ends them by these keys. Several clients are served at a time.
//
// "/limit=N" on its command line makes it answer a start with sInstancesCountLimitReached when N of
// the processes that it started still run. It runs until it is ended.

#include <windows.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

#include "basicslib/ComString.h"
#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/PipeNames.h"
#include "process/InstancesMgr.h"
#include "process/Process.h"
#include "runner/RunnerProtocol.h"
#include "standins/PipeListener.h"

namespace
{

constexpr DWORD kRequestTime = 10000;
constexpr DWORD kReplyTime = 10000;

/// The processes that the service has named. A key stays valid as long as the service runs, so that
/// the end of a process can still be asked for after it has come.
class KnownProcesses
{
  public:
    /// The key of a process, a new one when it has none yet. Ids are used again by the system, so
    /// one that names an ended process does not name this one.
    tvn::ComString KeyOf(const boost::shared_ptr<tvn::IProcess>& process)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& [key, known] : m_processes) {
            if (known->GetPid() == process->GetPid() && known->WaitForExit(0) == tvn::sTimeout) {
                return tvn::ToComString(key);
            }
        }
        const std::wstring key = L"process-" + std::to_wstring(m_processes.size() + 1);
        m_processes[key] = process;
        return tvn::ToComString(key);
    }

    /// The process of a key, empty for a key that was never given out.
    boost::shared_ptr<tvn::IProcess> Find(const tvn::ComString& key)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_processes.find(std::wstring(tvn::ToView(key)));
        return found == m_processes.end() ? boost::shared_ptr<tvn::IProcess>() : found->second;
    }

  private:
    std::mutex m_mutex;
    std::map<std::wstring, boost::shared_ptr<tvn::IProcess>> m_processes;
};

class RunnerService
{
  public:
    explicit RunnerService(std::size_t limit)
        : m_limit(limit),
          m_listener(static_cast<const char*>(tvn::RunnerPipeName()),
                     [this](const boost::shared_ptr<tvn::Handle>& pipe) { Serve(pipe->Get()); })
    {}

    bool Start() { return m_listener.Start(); }

  private:
    /// A client sends one request and closes the connection after the answer; until then it stays
    /// open here too.
    void Serve(HANDLE pipe)
    {
        tvn::RunnerProtocol protocol(pipe, nullptr);
        try {
            boost::shared_ptr<tvn::BaseMsg> request;
            for (;;) {
                protocol.ReadMsg(request, kRequestTime);
                const boost::shared_ptr<tvn::BaseMsg> reply = Answer(*request);
                if (!reply) {
                    return;
                }
                protocol.WriteMsg(reply, nullptr, kReplyTime);
            }
        } catch (const tvn::BaseException&) {
            // The client has gone, or sent nothing that can be read.
        }
    }

    /// An empty pointer for what is not a request.
    boost::shared_ptr<tvn::BaseMsg> Answer(const tvn::BaseMsg& request)
    {
        switch (request.GetType()) {
            case tvn::mtStart:
                return Start(static_cast<const tvn::MsgStart&>(request));
            case tvn::mtTerminate:
                return Terminate(static_cast<const tvn::MsgTerminate&>(request));
            case tvn::mtWaitForExit:
                return WaitForExit(static_cast<const tvn::MsgWaitForExit&>(request));
            case tvn::mtGetProcessesByName:
                return ListProcesses(static_cast<const tvn::MsgGetProcessesByName&>(request));
            case tvn::mtGetInstancesByName:
                return ListInstances(static_cast<const tvn::MsgGetInstancesByName&>(request));
            default:
                return {};
        }
    }

    boost::shared_ptr<tvn::BaseMsg> Start(const tvn::MsgStart& request)
    {
        auto reply = boost::make_shared<tvn::MsgStartComplete>(request.msgId);
        const std::lock_guard<std::mutex> lock(m_startMutex);
        const auto ended = [](const auto& process) {
            return process->WaitForExit(0) == tvn::sOk;
        };
        m_started.erase(std::remove_if(m_started.begin(), m_started.end(), ended), m_started.end());
        if (m_started.size() >= m_limit) {
            reply->result = tvn::sInstancesCountLimitReached;
            return reply;
        }
        const auto process = boost::make_shared<tvn::Process>();
        reply->result = process->Start(request.appPath, request.cmdLine, request.user,
                                       request.domain, request.password, INFINITE);
        if (reply->result == tvn::sOk) {
            m_started.emplace_back(process);
            reply->pid = process->GetPid();
            reply->processKey = m_processes.KeyOf(process);
        }
        return reply;
    }

    boost::shared_ptr<tvn::BaseMsg> Terminate(const tvn::MsgTerminate& request)
    {
        auto reply = boost::make_shared<tvn::MsgTerminateComplete>(request.msgId);
        const auto process = m_processes.Find(request.processKey);
        reply->result = process ? process->Terminate(INFINITE) : tvn::sFail;
        return reply;
    }

    boost::shared_ptr<tvn::BaseMsg> WaitForExit(const tvn::MsgWaitForExit& request)
    {
        auto reply = boost::make_shared<tvn::MsgWaitForExitComplete>(request.msgId);
        const auto process = m_processes.Find(request.processKey);
        reply->result = process ? process->WaitForExit(request.timeout) : tvn::sFail;
        return reply;
    }

    boost::shared_ptr<tvn::BaseMsg> ListProcesses(const tvn::MsgGetProcessesByName& request)
    {
        auto reply = boost::make_shared<tvn::MsgGetProcessesByNameComplete>(request.msgId);
        std::vector<boost::shared_ptr<tvn::IProcess>> processes;
        reply->result = tvn::Process().GetProcessesByName(request.processName, processes, INFINITE);
        for (const auto& process : processes) {
            reply->pids.push_back(process->GetPid());
            reply->processKeys.push_back(m_processes.KeyOf(process));
        }
        return reply;
    }

    boost::shared_ptr<tvn::BaseMsg> ListInstances(const tvn::MsgGetInstancesByName& request)
    {
        auto reply = boost::make_shared<tvn::MsgGetInstancesByNameComplete>(request.msgId);
        std::vector<boost::shared_ptr<tvn::Instance>> instances;
        reply->result =
            tvn::InstancesMgr().GetInstancesByName(instances, request.processName, INFINITE);
        for (const auto& instance : instances) {
            reply->pids.push_back(instance->pid);
            reply->processKeys.push_back(m_processes.KeyOf(instance->process));
            reply->windows.push_back(tvn::WindowValue(instance->hwnd));
        }
        return reply;
    }

    std::size_t m_limit;
    std::mutex m_startMutex;
    std::vector<boost::shared_ptr<tvn::IProcess>> m_started;
    KnownProcesses m_processes;
    standins::PipeListener m_listener;
};

}  // namespace

int main(int argc, char** argv)
{
    constexpr const char* kLimit = "/limit=";
    std::size_t limit = 100;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument.rfind(kLimit, 0) != 0) {
            std::fprintf(stderr, "runner: unknown argument '%s'; only %sN is known\n", argv[index],
                         kLimit);
            return 2;
        }
        limit = std::strtoul(argument.c_str() + std::string(kLimit).size(), nullptr, 10);
    }
    RunnerService service(limit);
    if (!service.Start()) {
        std::fprintf(stderr, "runner: the runner's pipe cannot be made; does another one run?\n");
        return 1;
    }
    Sleep(INFINITE);
    return 0;
}
