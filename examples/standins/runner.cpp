// A stand-in for the runner service, and an example for whoever writes the real one. It serves the
// runner's pipe, starts browsers under its own account and names each by a key, and finds, awaits
// and ends them by these keys. Several clients are served at a time.
//
// "/limit=N" on its command line makes it answer a start with sInstancesCountLimitReached when N of
// the processes that it started still run; "/keep=SECONDS" tells how long it knows a process that
// has ended. It runs until it is ended.

#include <windows.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "basicslib/ComString.h"
#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "basicslib/TimeBudget.h"
#include "instance/PipeListener.h"
#include "pipeutils/PipeNames.h"
#include "process/InstancesMgr.h"
#include "process/Process.h"
#include "runner/RunnerProtocol.h"

namespace
{

constexpr DWORD kRequestTime = 10000;
constexpr DWORD kReplyTime = 10000;

/// The processes that the service has named. A key is unique over all runs of the service, so that
/// nobody ends a stranger's browser with a key of an earlier run. It stays valid for a while after
/// its process has ended, because that end is asked for then, and is forgotten after that.
class KnownProcesses
{
  public:
    /// `keepTime` in milliseconds.
    explicit KnownProcesses(ULONGLONG keepTime) : m_keepTime(keepTime) {}

    /// The key of a process, a new one when it has none yet. Ids are used again by the system, so
    /// one that names an ended process does not name this one.
    tvn::ComString KeyOf(const boost::shared_ptr<tvn::IProcess>& process)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Forget();
        for (const auto& [key, known] : m_processes) {
            if (!known.endedAt && known.process->GetPid() == process->GetPid()) {
                return tvn::ToComString(key);
            }
        }
        const tvn::ComString key = tvn::CreateUuidString();
        m_processes[std::wstring(tvn::ToView(key))] = {process};
        return key;
    }

    /// The process of a key, empty for one that was never given out or is forgotten.
    boost::shared_ptr<tvn::IProcess> Find(const tvn::ComString& key)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Forget();
        const auto found = m_processes.find(std::wstring(tvn::ToView(key)));
        return found == m_processes.end() ? nullptr : found->second.process;
    }

  private:
    struct Known
    {
        boost::shared_ptr<tvn::IProcess> process;
        std::optional<ULONGLONG> endedAt = {};  ///< when its end was first noticed
    };

    void Forget()
    {
        const ULONGLONG now = GetTickCount64();
        for (auto& [key, known] : m_processes) {
            if (!known.endedAt && known.process->WaitForExit(0) == tvn::sOk) {
                known.endedAt = now;
            }
        }
        std::erase_if(m_processes, [&](const auto& each) {
            return each.second.endedAt && now - *each.second.endedAt > m_keepTime;
        });
    }

    ULONGLONG m_keepTime;
    std::mutex m_mutex;
    std::map<std::wstring, Known> m_processes;
};

class RunnerService
{
  public:
    /// Whoever reaches the pipe starts programs under this account, so it is open to this account
    /// only; a service for others names them in a descriptor of its own.
    RunnerService(std::size_t limit, ULONGLONG keepTime)
        : m_limit(limit),
          m_processes(keepTime),
          m_listener(static_cast<const char*>(tvn::RunnerPipeName()),
                     instance::PipeAccess::kOwnAccount,
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
                const boost::shared_ptr<tvn::BaseMsg> reply = Answer(*request, pipe);
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
    boost::shared_ptr<tvn::BaseMsg> Answer(const tvn::BaseMsg& request, HANDLE pipe)
    {
        switch (request.GetType()) {
            case tvn::mtStart:
                return Start(static_cast<const tvn::MsgStart&>(request));
            case tvn::mtTerminate:
                return Terminate(static_cast<const tvn::MsgTerminate&>(request));
            case tvn::mtWaitForExit:
                return WaitForExit(static_cast<const tvn::MsgWaitForExit&>(request), pipe);
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
        std::erase_if(m_started, [](const auto& each) { return each->WaitForExit(0) == tvn::sOk; });
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

    /// Ends with its client at the latest.
    boost::shared_ptr<tvn::BaseMsg> WaitForExit(const tvn::MsgWaitForExit& request, HANDLE pipe)
    {
        constexpr DWORD kLook = 200;  // how often the client is looked for

        auto reply = boost::make_shared<tvn::MsgWaitForExitComplete>(request.msgId);
        const auto process = m_processes.Find(request.processKey);
        const tvn::TimeBudget budget(request.timeout);
        do {
            const DWORD time = std::min(budget.Remaining(), kLook);
            reply->result = process ? process->WaitForExit(time) : tvn::sFail;
        } while (reply->result == tvn::sTimeout && budget.Remaining() != 0 &&
                 PeekNamedPipe(pipe, nullptr, 0, nullptr, nullptr, nullptr));
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
    instance::PipeListener m_listener;
};

/// Takes the number of "/NAME=NUMBER"; false for any other argument.
bool TakeNumber(std::string_view argument, std::string_view option, std::uint32_t& number)
{
    const char* const end = argument.data() + argument.size();
    const auto [read, error] =
        std::from_chars(argument.data() + std::min(option.size(), argument.size()), end, number);
    return argument.starts_with(option) && error == std::errc() && read == end;
}

}  // namespace

int main(int argc, char** argv)
{
    std::uint32_t limit = 100;
    std::uint32_t keep = 600;
    for (int index = 1; index < argc; ++index) {
        if (!TakeNumber(argv[index], "/limit=", limit) &&
            !TakeNumber(argv[index], "/keep=", keep)) {
            std::fprintf(stderr, "runner: unknown argument '%s'; known: /limit=N, /keep=SECONDS\n",
                         argv[index]);
            return 2;
        }
    }
    RunnerService service(limit, keep * 1000ULL);
    if (!service.Start()) {
        std::fprintf(stderr, "runner: the runner's pipe cannot be made; does another one run?\n");
        return 1;
    }
    for (;;) {
        Sleep(INFINITE);
    }
}
