// Attaching to a browser instance: the options of tvnInit's command line, the search for a free
// instance that runs, and the step that attaches to one.

#include <windows.h>

#include <shellapi.h>

#include <boost/make_shared.hpp>
#include <cwchar>
#include <memory>

#include "Interface/App.h"
#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/PipeNames.h"
#include "process/ProcessFactory.h"
#include "runner/RunnerProcessFactory.h"

namespace tvn
{

void CApp::ParseCommandLine(const ComString& text)
{
    struct LocalDeleter
    {
        void operator()(wchar_t** memory) const { LocalFree(memory); }
    };

    // The splitting rules treat the first argument as a program's name, and an empty line as this
    // process's own: a name in front makes all of the text arguments.
    std::wstring line = L"talvern ";
    line += ToView(text);
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalDeleter> arguments(
        CommandLineToArgvW(line.c_str(), &count));
    if (!arguments) {
        throw Win32Exception(GetLastError(), __FILE__, __LINE__);
    }
    const auto is = [](const wchar_t* argument, const wchar_t* name) {
        return _wcsicmp(argument, name) == 0;
    };
    for (int index = 1; index < count; ++index) {
        const wchar_t* argument = arguments.get()[index];
        const wchar_t* value = index + 1 < count ? arguments.get()[index + 1] : nullptr;
        if (is(argument, L"-ie")) {
            m_options.browserKind = InternetExplorer;
        } else if (is(argument, L"-fx")) {
            m_options.browserKind = Firefox;
        } else if (is(argument, L"-fxVersion") && value != nullptr) {
            m_options.fxVersion = value;
            ++index;
        } else if (is(argument, L"-fxLocale") && value != nullptr) {
            m_options.fxLocale = value;
            ++index;
        } else if (is(argument, L"-authorizeAll")) {
            m_options.authorizeAll = true;
        } else if (is(argument, L"-runner")) {
            m_options.useRunner = true;
            m_options.authorizeAll = true;
        }
    }
}

ComString CApp::BrowserExeName() const
{
    switch (m_options.browserKind) {
        case InternetExplorer:
            return L"iexplore.exe";
        case Firefox:
            return L"firefox.exe";
        case OwnBrowser:
            return L"talvern.exe";
        default:
            return L"";
    }
}

boost::shared_ptr<IProcessFactory> CApp::NewProcessFactory() const
{
    if (m_options.useRunner) {
        return boost::make_shared<RunnerProcessFactory>();
    }
    return boost::make_shared<ProcessFactory>();
}

std::vector<boost::shared_ptr<Instance>> CApp::ListInstances(
    const ComString& exeName, const boost::shared_ptr<IProcessFactory>& factory, DWORD timeoutMs)
{
    const TimeBudget budget(timeoutMs);
    std::vector<boost::shared_ptr<Instance>> list;
    const boost::shared_ptr<IInstancesMgr> mgr = factory->NewInstancesMgr();
    mgr->GetInstancesByName(list, exeName, budget.Remaining());
    return list;
}

int CApp::AttachToFree(DWORD timeoutMs)
{
    const TimeBudget budget(timeoutMs);
    const ComString exe = BrowserExeName();
    const boost::shared_ptr<IProcessFactory> factory = NewProcessFactory();
    for (const auto& instance : ListInstances(exe, factory, budget.Remaining() / 2)) {
        if (AttachIfFree(budget.Remaining(), instance->process, WindowValue(instance->hwnd),
                         ComString()) == sOk) {
            return sOk;
        }
    }
    return sFail;
}

int CApp::AttachIfFree(DWORD timeoutMs, const boost::shared_ptr<IProcess>& process, DWORD pipeHwnd,
                       ComString creatorUuid)
{
    if (!creatorUuid) {
        creatorUuid = ComString(static_cast<BSTR>(nullptr), false);
    }
    LogProtocol("[C] CApp::AttachIfFree(pipeHwnd = 0x%08X, creatorUuid = %S)",
                static_cast<unsigned int>(pipeHwnd), static_cast<const wchar_t*>(creatorUuid));
    const ComString name = InstancePipeName(pipeHwnd);
    const auto client = boost::make_shared<MacrosClient>(name, boost::shared_ptr<Handle>(), true);
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

}  // namespace tvn
