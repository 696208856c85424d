// tvnInit, and the start of a new browser instance that calls back.

#include "Interface/App.h"
#include "Interface/AutomationValue.h"
#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/SimplePipeServer.h"
#include "process/BrowserLocation.h"

namespace tvn
{
namespace
{

/// The arguments with which a start page tells the instance in the browser who started it.
std::wstring StartUrl(const std::wstring& page, bool authorizeAll, const ComString& pipeUuid,
                      const ComString& creatorUuid)
{
    std::wstring url = L"\"" + page;
    url += L"?authorizeAll=";
    url += authorizeAll ? L"true" : L"false";
    url += L"&pipeUuid=";
    url += ToView(pipeUuid);
    url += L"&creatorUuid=";
    url += ToView(creatorUuid);
    url += L" \"";
    return url;
}

}  // namespace

int CApp::Init(const VARIANT& commandLine, VARIANT_BOOL openNewBrowser, const VARIANT& user,
               const VARIANT& password, const VARIANT& domain, LONG timeout)
{
    const TimeBudget budget(Milliseconds(timeout));
    m_pendingArgs.clear();
    m_lastExtract.clear();
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
        ParseCommandLine(text);
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

    LogProtocol("[C] Wait new instance to callback");
    DWORD hwnd = 0;
    {
        const boost::shared_ptr<Handle> pipe = server.WaitForClient(budget.Remaining());
        if (!pipe) {
            LogProtocol("[C] Wait new instance to callback - pipe is NULL (remains = %d)",
                        static_cast<int>(budget.Remaining()));
            return budget.HasLimit() && budget.Remaining() == 0 ? sTimeout : sFail;
        }
        try {
            CallbackProtocol protocol(pipe->Get(), nullptr);
            protocol.ReceiveHwnd(hwnd, budget.Remaining());
            LogProtocol("[C] The new instance HWND = 0x%08X", static_cast<unsigned int>(hwnd));
        } catch (const PipeException& exception) {
            LogProtocol("[C] Wait new instance to callback failed. %s",
                        static_cast<const char*>(exception.GetDescription()));
            return dynamic_cast<const ReadPipeTimeout*>(&exception) != nullptr ? sTimeout : sFail;
        }
    }
    return AttachIfFree(budget.Remaining(), process, hwnd, creatorUuid);
}

int CApp::createProcess(DWORD timeoutMs, const ComString& pipeUuid, const ComString& creatorUuid,
                        const ComString& args, boost::shared_ptr<IProcess>& process)
{
    const ComString appPath = BrowserPath();
    const ComString cmdLine = BuildBrowserCmdLine(args, pipeUuid, creatorUuid);
    process = NewProcessFactory()->NewProcess();
    const int result = process->Start(appPath, cmdLine, m_options.user, m_options.domain,
                                      m_options.password, timeoutMs);
    LogProtocol("[C] %X = createProcess(user:%s, domain:%s, password:%s, appPath:%s, cmdLine:%s)",
                static_cast<unsigned int>(result), static_cast<const char*>(m_options.user),
                static_cast<const char*>(m_options.domain),
                static_cast<const char*>(m_options.password), static_cast<const char*>(appPath),
                static_cast<const char*>(cmdLine));
    return result;
}

ComString CApp::BrowserPath() const
{
    switch (m_options.browserKind) {
        case InternetExplorer:
            return GetInternetExplorerPath();
        case Firefox:
            return GetFirefoxPath(ToNarrow(ToView(m_options.fxVersion)),
                                  ToNarrow(ToView(m_options.fxLocale)));
        case OwnBrowser:
            return GetPathBasic() + L"\\talvern.exe";
        default:
            return {};
    }
}

ComString CApp::BuildBrowserCmdLine(const ComString& args, const ComString& pipeUuid,
                                    const ComString& creatorUuid) const
{
    std::wstring cmdLine;
    switch (m_options.browserKind) {
        case InternetExplorer: {
            const ComString folder = GetPathBasic();
            std::wstring page = L"about:blank";
            if (folder.length() > 0) {
                page = L"file:///";
                page += ToView(folder);
                page += L"\\Welcome_plugin.htm";
            }
            cmdLine = L" " + StartUrl(page, m_options.authorizeAll, pipeUuid, creatorUuid);
            break;
        }
        case Firefox:
            cmdLine = L" -new-window " +
                      StartUrl(L"about:blank", m_options.authorizeAll, pipeUuid, creatorUuid);
            break;
        case OwnBrowser:
            cmdLine = ToView(args);
            if (m_options.useRunner) {
                cmdLine += L" -authorizeAll";
            }
            cmdLine += L" /pipeUuid=";
            cmdLine += ToView(pipeUuid);
            cmdLine += L" /creatorUuid=";
            cmdLine += ToView(creatorUuid);
            break;
        default:
            break;
    }
    return ToComString(cmdLine);
}

}  // namespace tvn
