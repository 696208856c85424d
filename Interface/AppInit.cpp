// tvnInit: attaches to a running browser instance that is free, or starts one that calls back.

#include <boost/make_shared.hpp>

#include "Interface/App.h"
#include "Interface/AutomationValue.h"
#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/ScopeExit.h"
#include "basicslib/StatusCode.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/SimplePipeServer.h"
#include "process/ProcessFactory.h"
#include "runner/RunnerProcessFactory.h"

namespace tvn
{
namespace
{

/// Logs without allocating when there is no memory for the description.
void LogCallbackFailure(const PipeException& failure) noexcept
{
    constexpr const char* kLine = "[C] Wait new instance to callback failed. %s";
    try {
        LogProtocol(kLine, static_cast<const char*>(failure.GetDescription()));
    } catch (const _com_error&) {
        LogProtocol(kLine, failure.GetName());
    } catch (const std::bad_alloc&) {
        LogProtocol(kLine, failure.GetName());
    }
}

/// Waits for the new instance to connect and to send its window handle. Returns `sOk` with `hwnd`
/// filled in, or the status of the failure.
int AwaitCallback(SimplePipeServer& server, const TimeBudget& budget, DWORD& hwnd)
{
    LogProtocol("[C] Wait new instance to callback");
    const boost::shared_ptr<Handle> pipe = server.WaitForClient(budget.Remaining());
    if (!pipe) {
        LogProtocol("[C] Wait new instance to callback - pipe is NULL (remains = %d)",
                    static_cast<int>(budget.Remaining()));
        return budget.Remaining() == 0 ? sTimeout : sFail;
    }
    try {
        CallbackProtocol(pipe->Get(), nullptr).ReceiveHwnd(hwnd, budget.Remaining());
        LogProtocol("[C] The new instance HWND = 0x%08X", static_cast<unsigned int>(hwnd));
        return sOk;
    } catch (const ReadPipeTimeout& late) {
        LogCallbackFailure(late);
        return sTimeout;
    } catch (const PipeException& failure) {
        LogCallbackFailure(failure);
        return sFail;
    }
}

}  // namespace

int CApp::Init(const VARIANT& commandLine, VARIANT_BOOL openNewBrowser, const VARIANT& user,
               const VARIANT& password, const VARIANT& domain, LONG timeout)
{
    const TimeBudget budget(Milliseconds(timeout));
    if (m_initialising) {
        return sInternal;  // called by a message that a wait below dispatches
    }
    m_initialising = true;
    const ScopeExit initialising([this] { m_initialising = false; });
    m_pendingArgs.clear();
    m_lastPlay.m_lastExtract = {};
    m_lastError.clear();
    if (m_attached) {
        return sInternal;
    }
    TextOf(user, m_options.user);
    TextOf(domain, m_options.domain);
    TextOf(password, m_options.password);

    ComString args;
    ComString text;
    if (TextOf(commandLine, text)) {
        ParseCommandLine(text, m_options);
        args = L" " + text;
    }

    if (openNewBrowser != VARIANT_FALSE) {
        return CreateAndAttach(budget.Remaining(), args);
    }
    if (AttachToFree(budget.Remaining() / 2) == sOk) {
        return sOk;
    }
    const int status = CreateAndAttach(budget.Remaining(), args);
    LogDebug("tvnInit, failed with %x", static_cast<unsigned int>(status));
    return status;
}

int CApp::AttachToFree(DWORD timeoutMs)
{
    const TimeBudget budget(timeoutMs);
    unsigned int late = 0;
    for (const auto& instance : ListInstances(BrowserExeName(m_options.browserKind),
                                              NewProcessFactory(), budget.Remaining() / 2)) {
        const DWORD left = budget.Remaining();
        if (left == 0 && ++late > kStepsAfterTime) {
            break;
        }
        if (AttachIfFree(left, instance->process, WindowValue(instance->hwnd), ComString()) ==
            sOk) {
            return sOk;
        }
    }
    return sFail;
}

CApp::Instances CApp::ListInstances(const ComString& exeName,
                                    const boost::shared_ptr<IProcessFactory>& factory,
                                    DWORD timeoutMs)
{
    const TimeBudget budget(timeoutMs);
    Instances instances;
    factory->NewInstancesMgr()->GetInstancesByName(instances, exeName, budget.Remaining());
    return instances;
}

int CApp::CreateAndAttach(DWORD timeoutMs, const ComString& args)
{
    const TimeBudget budget(timeoutMs);
    const ComString pipeUuid = CreateUuidString();
    const ComString creatorUuid = CreateUuidString();
    LogProtocol("[C] Allocated id's: pipeUuid = %S, creatorUuid = %S",
                static_cast<const wchar_t*>(pipeUuid), static_cast<const wchar_t*>(creatorUuid));
    SimplePipeServer server;
    server.Create(CallbackPipeName(pipeUuid), true);
    LogProtocol("[C] Created callback server %S", static_cast<const wchar_t*>(pipeUuid));

    boost::shared_ptr<IProcess> process;
    const int started = createProcess(budget.Remaining(), pipeUuid, creatorUuid, args, process);
    if (started != sOk) {
        LogDebug("CreateAndAttach, [1]");
        return started;
    }

    DWORD hwnd = 0;
    const int called = AwaitCallback(server, budget, hwnd);
    return called == sOk ? AttachIfFree(budget.Remaining(), process, hwnd, creatorUuid) : called;
}

int CApp::createProcess(DWORD timeoutMs, const ComString& pipeUuid, const ComString& creatorUuid,
                        const ComString& args, boost::shared_ptr<IProcess>& process) const
{
    const ComString appPath = BrowserPath(m_options);
    const ComString cmdLine = BuildBrowserCmdLine(m_options, args, pipeUuid, creatorUuid);
    process = NewProcessFactory()->NewProcess();
    const int result = process->Start(appPath, cmdLine, m_options.user, m_options.domain,
                                      m_options.password, timeoutMs);
    LogProtocol("[C] %X = createProcess(user:%S, domain:%S, password:%S, appPath:%S, cmdLine:%S)",
                static_cast<unsigned int>(result), static_cast<const wchar_t*>(m_options.user),
                static_cast<const wchar_t*>(m_options.domain),
                static_cast<const wchar_t*>(m_options.password),
                static_cast<const wchar_t*>(appPath), static_cast<const wchar_t*>(cmdLine));
    return result;
}

int CApp::AttachIfFree(DWORD timeoutMs, const boost::shared_ptr<IProcess>& process, DWORD pipeHwnd,
                       const ComString& creatorUuid)
{
    LogProtocol("[C] CApp::AttachIfFree(pipeHwnd = 0x%08X, creatorUuid = %S)",
                static_cast<unsigned int>(pipeHwnd), static_cast<const wchar_t*>(creatorUuid));
    const auto client = boost::make_shared<MacrosClient>(InstancePipeName(pipeHwnd),
                                                         boost::shared_ptr<Handle>(), true);
    if (client->AuxAttachIfFree(timeoutMs, creatorUuid) != sOk) {
        LogProtocol("[C] CApp::AttachIfFree - sFail");
        return sFail;
    }
    m_process = process;
    m_client = client;
    m_attached = true;
    LogProtocol("[C] CApp::AttachIfFree - sOk");
    return sOk;
}

boost::shared_ptr<IProcessFactory> CApp::NewProcessFactory() const
{
    if (m_options.useRunner) {
        return boost::make_shared<RunnerProcessFactory>();
    }
    return boost::make_shared<ProcessFactory>();
}

}  // namespace tvn
