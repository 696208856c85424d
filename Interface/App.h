#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "Interface.h"
#include "Interface/BrowserCommands.h"
#include "basicslib/ComString.h"
#include "comserver/DispatchObject.h"
#include "pipeutils/MacrosClient.h"
#include "process/IProcessFactory.h"

namespace tvn
{

/// The result of the last play: its reply, and the views into it that the getters return.
struct LastPlay
{
    CommandReply m_reply;
    std::wstring_view m_lastExtract;
    std::vector<std::wstring_view> m_extracts;
};

/// The scripting object behind the coclass `App`. Serves one client and is attached to at most one
/// browser instance: `tvnInit` attaches it, `tvnExit` and its destruction detach it; a browser that
/// was not sent `tvnExit` keeps running.
///
/// Every method runs on the caller's thread and returns S_OK; the outcome is the Status, and
/// `tvnGetLastError` returns the text of a failure. Methods take no lock: a client that shares an
/// object between threads serialises its calls. While a method waits, the thread's window messages
/// are dispatched, and any method may be called from one of them, even the last Release.
class CApp : public comserver::DispatchObject<IApp>
{
  public:
    HRESULT STDMETHODCALLTYPE tvnInit(VARIANT commandLine, VARIANT_BOOL openNewBrowser,
                                      VARIANT user, VARIANT password, VARIANT domain, LONG timeout,
                                      Status* status) override;
    HRESULT STDMETHODCALLTYPE tvnDisplay(BSTR text, LONG timeout, Status* status) override;
    HRESULT STDMETHODCALLTYPE tvnPlay(BSTR inText, LONG timeout, Status* status) override;
    HRESULT STDMETHODCALLTYPE tvnExit(LONG timeout, Status* status) override;
    HRESULT STDMETHODCALLTYPE tvnSet(BSTR sVariable, BSTR sValue, Status* status) override;
    HRESULT STDMETHODCALLTYPE tvnGetLastError(BSTR* value) override;
    HRESULT STDMETHODCALLTYPE tvnGetLastExtract(VARIANT index, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE tvnGetInterfaceVersion(LONG* version) override;

  protected:
    explicit CApp(comserver::Module& module) : DispatchObject(module) {}
    ~CApp() override { Cleanup(); }

  private:
    using Instances = std::vector<boost::shared_ptr<Instance>>;

    // The frame that every method runs in.
    template <class Body>
    HRESULT RunMethod(::Status* status, Body body) noexcept;
    template <class Body>
    HRESULT RunGetter(BSTR* value, Body body) noexcept;
    void RecordUnexpected(int line) noexcept;

    // State.
    void ResetOptions() { m_options = InitOptions(); }
    void Cleanup() noexcept;

    /// Converts a client's time-out to milliseconds, modulo 2^32: a negative one becomes very long.
    static DWORD Milliseconds(LONG seconds) { return static_cast<DWORD>(seconds) * 1000U; }

    // The attached instance. Time-outs in milliseconds, INFINITE for none.
    int RunCommand(DWORD timeoutMs, const wchar_t* command, std::wstring_view argument,
                   CommandReply& reply) const;

    // Attaching to a running instance, or starting one and attaching to it.
    int Init(const VARIANT& commandLine, VARIANT_BOOL openNewBrowser, const VARIANT& user,
             const VARIANT& password, const VARIANT& domain, LONG timeout);
    int AttachToFree(DWORD timeoutMs);
    static Instances ListInstances(const ComString& exeName,
                                   const boost::shared_ptr<IProcessFactory>& factory,
                                   DWORD timeoutMs);
    int CreateAndAttach(DWORD timeoutMs, const ComString& args);
    int createProcess(DWORD timeoutMs, const ComString& pipeUuid, const ComString& creatorUuid,
                      const ComString& args, boost::shared_ptr<IProcess>& process) const;
    int AttachIfFree(DWORD timeoutMs, const boost::shared_ptr<IProcess>& process, DWORD pipeHwnd,
                     const ComString& creatorUuid);
    boost::shared_ptr<IProcessFactory> NewProcessFactory() const;

    bool m_attached = false;
    bool m_initialising = false;
    std::wstring m_pendingArgs;
    std::wstring m_lastError;
    LastPlay m_lastPlay;
    InitOptions m_options;
    boost::shared_ptr<MacrosClient> m_client;
    boost::shared_ptr<IProcess> m_process;
};

}  // namespace tvn
