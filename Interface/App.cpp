#include "Interface/App.h"

#include <algorithm>
#include <cstring>

#include "Interface/AutomationValue.h"
#include "basicslib/Exceptions.h"
#include "basicslib/FormatText.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "comserver/ComPtr.h"

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

constexpr LONG kInterfaceVersion = 6300216;

constexpr const char* kUnexpectedText = "tvnMethod. Unexpected exception catched. %d, %s";

BSTR NewBstr(std::wstring_view text)
{
    BSTR bstr = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (bstr == nullptr) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    return bstr;
}

}  // namespace

CApp::CApp(comserver::Module& module) : DispatchObject(module) {}

CApp::~CApp()
{
    Cleanup();
}

template <class Body>
HRESULT CApp::RunMethod(::Status* status, Body body) noexcept
{
    // A message that the body's waits dispatch may drop the last reference to this object.
    const comserver::ComPtr<IUnknown> self(this);
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
    const comserver::ComPtr<IUnknown> self(this);
    try {
        try {
            if (value != nullptr) {
                *value = NewBstr(body());
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
    // What was caught may have been a lack of memory: the text then has to do with the room that
    // the last one left.
    char text[512];
    const std::size_t length = FormatText(text, sizeof text, kUnexpectedText, line, __FILE__);
    try {
        m_lastError.assign(text, text + length);
    } catch (const std::bad_alloc&) {
        m_lastError.clear();
    }
}

void CApp::ResetOptions()
{
    m_options = InitOptions();
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
        const std::wstring_view name = ToView(sVariable);
        std::wstring item = L" ";
        if (name.find(L'-') != 0) {
            item += kVariablePrefix;
        }
        item += name;
        item += L' ';
        item += EncodeArg(ToView(sValue));
        m_pendingArgs += item;
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
        LONG number = 0;
        const bool isNumber = IndexOf(index, number);
        if (isNumber && number == 0) {
            return m_lastExtract;
        }
        if (!isNumber || number < 0 || number > kLastIndex ||
            static_cast<std::size_t>(number) > m_extracts.size()) {
            return L"NODATA";
        }
        return m_extracts[static_cast<std::size_t>(number) - 1];
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
    return RunMethod(status, [&] { return Play(inText, timeout); });
}

HRESULT CApp::tvnDisplay(BSTR text, LONG timeout, ::Status* status)
{
    return RunMethod(status, [&]() -> int {
        if (!m_attached) {
            return sNotStarted;
        }
        ComString reply;
        int result = sFail;
        RunCommand(Milliseconds(timeout), kCommandDisplay, ComString(text, true), reply, result);
        return result;
    });
}

HRESULT CApp::tvnExit(LONG timeout, ::Status* status)
{
    return RunMethod(status, [&] { return Exit(timeout); });
}

DWORD CApp::Milliseconds(LONG seconds)
{
    return static_cast<DWORD>(seconds) * 1000U;
}

void CApp::RunCommand(DWORD timeoutMs, const ComString& command, const ComString& argument,
                      ComString& reply, int& status)
{
    // A message that the wait dispatches may detach this object; the client has to last until the
    // command has come back.
    const boost::shared_ptr<MacrosClient> client = m_client;
    if (!client) {
        status = sFail;
        return;
    }
    client->Execute(timeoutMs, command, argument, reply, status);
}

int CApp::Play(BSTR inText, LONG timeout)
{
    LogProtocol("[C] CApp::tvnPlay(command = %S)", inText);
    if (!m_attached) {
        return sNotStarted;
    }
    const TimeBudget budget(Milliseconds(timeout));
    m_pendingArgs = L" -macro " + EncodeArg(ToView(inText)) + L" " + m_pendingArgs;
    const ComString argument = ToComString(m_pendingArgs);
    ComString reply;
    int status = sFail;
    RunCommand(budget.Remaining(), kCommandPlay, argument, reply, status);
    LogProtocol("[C] %d = CApp::tvnPlay", status);
    m_pendingArgs = std::wstring();
    if (status == kMacroPlayed) {
        status = sOk;
    }
    ParseReply(ToView(reply), status, m_lastError, m_lastExtract);
    SplitExtracts(m_lastExtract, kExtractSeparator, m_extracts, true);
    return status;
}

int CApp::Exit(LONG timeout)
{
    if (!m_attached) {
        return sNotStarted;
    }
    const TimeBudget budget(Milliseconds(timeout));

    /// However this method ends, the object is detached then.
    class CleanupScope
    {
      public:
        explicit CleanupScope(CApp& app) noexcept : m_app(app) {}
        ~CleanupScope() { m_app.Cleanup(); }
        CleanupScope(const CleanupScope&) = delete;
        CleanupScope& operator=(const CleanupScope&) = delete;

      private:
        CApp& m_app;
    };
    const CleanupScope cleanup(*this);

    // A nested call may detach the object while the command runs; this one still ends the browser
    // that it was called for.
    const boost::shared_ptr<IProcess> process = m_process;
    const BrowserKind browserKind = m_options.browserKind;

    ComString reply;
    int status = sFail;
    RunCommand(budget.Remaining() / 3, kCommandEnd, ComString(), reply, status);
    if (browserKind != Firefox) {
        status = process->WaitForExit(budget.Remaining() / 2) == sOk
                     ? sOk
                     : process->Terminate(budget.Remaining());
    }
    return status;
}

void CApp::ParseReply(std::wstring_view reply, int code, std::wstring& errorText,
                      std::wstring& extractText)
{
    errorText.clear();
    extractText.clear();
    const std::size_t position = reply.find(kErrorSeparator);
    if (position != std::wstring_view::npos && position > 0) {
        errorText = reply.substr(0, position);
        errorText += L" (" + std::to_wstring(code) + L")";
        extractText = reply.substr(position + kErrorSeparator.size());
    } else {
        extractText = reply;
    }
}

void CApp::SplitExtracts(std::wstring_view text, std::wstring_view separator,
                         std::vector<std::wstring>& list, bool keepEmpty)
{
    list.clear();
    if (text.empty()) {
        return;
    }
    for (std::size_t position = 0;;) {
        const std::size_t end = std::min(text.find(separator, position), text.size());
        if (keepEmpty || end > position) {
            list.emplace_back(text.substr(position, end - position));
        }
        if (end == text.size()) {
            return;
        }
        position = end + separator.size();
    }
}

std::wstring CApp::EncodeArg(std::wstring_view text)
{
    std::wstring encoded;
    encoded.reserve(text.size() + text.size() / 2);
    for (const wchar_t character : text) {
        switch (character) {
            case L' ':
                encoded += L"[SP]";
                break;
            case L'\n':
                encoded += L"[LF]";
                break;
            case L'\r':
                encoded += L"[BR]";
                break;
            default:
                encoded += character;
                break;
        }
    }
    return encoded;
}

}  // namespace tvn
