#include "Interface/App.h"

#include <wrl/client.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "Interface/AutomationValue.h"
#include "Interface/PlayTexts.h"
#include "Version.h"
#include "basicslib/Exceptions.h"
#include "basicslib/FormatText.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/ScopeExit.h"
#include "basicslib/StatusCode.h"
#include "basicslib/TimeBudget.h"

namespace tvn
{
namespace
{

// The type library repeats the codes for its clients.
static_assert(static_cast<int>(::sOk) == sOk && static_cast<int>(::sFail) == sFail &&
              static_cast<int>(::sNotCompleted) == sNotCompleted &&
              static_cast<int>(::sTimeout) == sTimeout &&
              static_cast<int>(::sNotStarted) == sNotStarted &&
              static_cast<int>(::sInternal) == sInternal &&
              static_cast<int>(::sMacroError) == sMacroError &&
              static_cast<int>(::sRunnerNotReachable) == sRunnerNotReachable &&
              static_cast<int>(::sInstancesCountLimitReached) == sInstancesCountLimitReached);

constexpr LONG kInterfaceVersion = TVN_INTERFACE_VERSION;

constexpr const char* kUnexpectedText = "tvnMethod. Unexpected exception catched. %d, %s";

}  // namespace

template <class Body>
HRESULT CApp::RunMethod(::Status* status, Body body) noexcept
{
    // A window message that is dispatched while `body` waits may release the last reference.
    const Microsoft::WRL::ComPtr<IUnknown> self(this);
    int result = sFail;
    try {
        try {
            result = body();
        } catch (const BaseException& exception) {
            m_lastError = ToView(exception.GetDescription());
        }
    } catch (...) {
        RecordUnexpected(__LINE__);
    }
    if (status != nullptr) {
        // Instances answer with codes that the enumeration does not name.
        static_assert(sizeof *status == sizeof result);
        std::memcpy(status, &result, sizeof result);
    }
    return S_OK;
}

template <class Body>
HRESULT CApp::RunGetter(BSTR* value, Body body) noexcept
{
    const Microsoft::WRL::ComPtr<IUnknown> self(this);
    try {
        try {
            if (value != nullptr) {
                *value = ToComString(body()).Detach();
            }
        } catch (const BaseException& exception) {
            LogError("%S", static_cast<const wchar_t*>(exception.GetDescription()));
        }
    } catch (...) {
        LogError(kUnexpectedText, __LINE__, __FILE__);
    }
    return S_OK;
}

void CApp::RecordUnexpected(int line) noexcept
{
    // The exception may mean that memory has run out: the text must then fit the capacity that the
    // last text left.
    char text[512];
    const auto shown = FormatText(text, sizeof text, kUnexpectedText, line, __FILE__);
    try {
        m_lastError.resize(shown.size());
        std::copy(shown.begin(), shown.end(), m_lastError.begin());
    } catch (const std::bad_alloc&) {
        m_lastError.clear();
    }
}

void CApp::Cleanup() noexcept
{
    try {
        m_process.reset();
        m_client.reset();
        m_attached = false;
        ResetOptions();
    } catch (...) {
        LogError("CApp::Cleanup. Unexpected exception");
    }
}

HRESULT CApp::tvnInit(VARIANT commandLine, VARIANT_BOOL openNewBrowser, VARIANT user,
                      VARIANT password, VARIANT domain, LONG timeout, ::Status* status)
{
    return RunMethod(
        status, [&] { return Init(commandLine, openNewBrowser, user, password, domain, timeout); });
}

HRESULT CApp::tvnSet(BSTR sVariable, BSTR sValue, ::Status* status)
{
    return RunMethod(status, [&]() -> int {
        AppendVariable(m_pendingArgs, ToView(sVariable), ToView(sValue));
        return sOk;
    });
}

HRESULT CApp::tvnGetLastError(BSTR* value)
{
    return RunGetter(value, [&]() -> std::wstring_view { return m_lastError; });
}

HRESULT CApp::tvnGetLastExtract(VARIANT index, BSTR* value)
{
    return RunGetter(value, [&]() -> std::wstring_view {
        constexpr LONG kLastIndex = 0x7FFF;
        const std::optional<LONG> number = IndexOf(index);
        if (number == 0) {
            return m_lastPlay.m_lastExtract;
        }
        const auto& pieces = m_lastPlay.m_extracts;
        if (!number || *number < 0 || *number > kLastIndex ||
            static_cast<std::size_t>(*number) > pieces.size()) {
            return L"NODATA";
        }
        return pieces[static_cast<std::size_t>(*number) - 1];
    });
}

HRESULT CApp::tvnGetInterfaceVersion(LONG* version)
{
    if (version != nullptr) {
        *version = kInterfaceVersion;
    }
    return S_OK;
}

HRESULT CApp::tvnPlay(BSTR inText, LONG timeout, ::Status* status)
{
    return RunMethod(status, [&]() -> int {
        LogProtocol("[C] CApp::tvnPlay(command = %S)", inText);
        if (!m_attached) {
            return sNotStarted;
        }
        const TimeBudget budget(Milliseconds(timeout));
        MakePlayArgument(ToView(inText), m_pendingArgs);
        LastPlay play;
        int result = RunCommand(budget.Remaining(), kCommandPlay, m_pendingArgs, play.m_reply);
        LogProtocol("[C] %d = CApp::tvnPlay", result);
        m_pendingArgs = std::wstring();
        result = result == kMacroPlayed ? sOk : result;

        std::wstring error;
        ParseReply(play.m_reply.text, result, error, play.m_lastExtract);
        SplitExtracts(play.m_lastExtract, kExtractSeparator, play.m_extracts, true);
        m_lastError = std::move(error);
        m_lastPlay = std::move(play);
        return result;
    });
}

HRESULT CApp::tvnDisplay(BSTR text, LONG timeout, ::Status* status)
{
    return RunMethod(status, [&]() -> int {
        CommandReply reply;
        return m_attached ? RunCommand(Milliseconds(timeout), kCommandDisplay, ToView(text), reply)
                          : sNotStarted;
    });
}

HRESULT CApp::tvnExit(LONG timeout, ::Status* status)
{
    return RunMethod(status, [&]() -> int {
        if (!m_attached) {
            return sNotStarted;
        }
        const TimeBudget budget(Milliseconds(timeout));

        // However this method ends, the object is then detached from the instance that it was
        // called for. A nested call may have attached it to another one by then.
        const ScopeExit cleanup([this, client = m_client] {
            if (m_client == client) {
                Cleanup();
            }
        });

        // For the same reason, remember which browser to end.
        const boost::shared_ptr<IProcess> process = m_process;
        const BrowserKind browserKind = m_options.browserKind;

        CommandReply reply;
        const int answer = RunCommand(budget.Remaining() / 3, kCommandEnd, {}, reply);
        if (browserKind == Firefox) {
            return answer;
        }
        return process->WaitForExit(budget.Remaining() / 2) == sOk
                   ? sOk
                   : process->Terminate(budget.Remaining());
    });
}

int CApp::RunCommand(DWORD timeoutMs, const wchar_t* command, std::wstring_view argument,
                     CommandReply& reply) const
{
    // A window message that is dispatched while the command waits may detach this object from the
    // client.
    const boost::shared_ptr<MacrosClient> client = m_client;
    if (!client) {
        return sFail;
    }
    reply = client->Execute(timeoutMs, command, argument);
    return reply.status;
}

}  // namespace tvn
