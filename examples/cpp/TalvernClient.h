#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "Interface.h"

namespace talvern
{

/// A call that did not reach its method, or could not bring back its result. What a method makes of
/// a call that reached it is a Status instead.
class ComError : public std::runtime_error
{
  public:
    explicit ComError(HRESULT result) : std::runtime_error(Describe(result)), m_result(result) {}

    HRESULT Result() const noexcept { return m_result; }

    /// Throws when `result` is not S_OK.
    static void Check(HRESULT result)
    {
        if (result != S_OK) {
            throw ComError(result);
        }
    }

  private:
    static std::string Describe(HRESULT result)
    {
        char text[128];
        std::snprintf(text, sizeof text, "the scripting object cannot be used (0x%08lX)%s",
                      static_cast<unsigned long>(result),
                      result == REGDB_E_CLASSNOTREG ? ": it is not registered, so install it" : "");
        return text;
    }

    HRESULT m_result;
};

/// COM on the thread that makes it, as long as it lives.
class Apartment
{
  public:
    explicit Apartment(DWORD kind = COINIT_APARTMENTTHREADED)
    {
        const HRESULT result = CoInitializeEx(nullptr, kind);
        ComError::Check(result == S_FALSE ? S_OK : result);  // S_FALSE: once more
    }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

/// The owner of a BSTR. The text may hold zeros.
class Text
{
  public:
    explicit Text(std::wstring_view text)
        : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {
        if (m_text == nullptr) {
            throw std::bad_alloc();
        }
    }
    ~Text() { SysFreeString(m_text); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    BSTR Get() const noexcept { return m_text; }
    BSTR Release() noexcept { return std::exchange(m_text, nullptr); }

  private:
    BSTR m_text;
};

/// An argument that may be left out.
struct Argument : VARIANT
{
    Argument() : VARIANT()
    {
        vt = VT_ERROR;
        scode = DISP_E_PARAMNOTFOUND;
    }
    explicit Argument(std::wstring_view text) : VARIANT()
    {
        bstrVal = Text(text).Release();
        vt = VT_BSTR;
    }
    explicit Argument(LONG number) : VARIANT()
    {
        lVal = number;
        vt = VT_I4;
    }
    ~Argument() { VariantClear(this); }
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;
};

/// One scripting object, called through its virtual table. Used by the thread that made it, which
/// has COM. The methods that act answer a Status: 1 is success, and any number may come. Time-outs
/// are seconds. Every method throws ComError when the call itself fails.
class Client
{
  public:
    Client()
    {
        void* app = nullptr;
        ComError::Check(CoCreateInstance(CLSID_App, nullptr, CLSCTX_INPROC_SERVER, IID_IApp, &app));
        m_app = static_cast<IApp*>(app);
    }

    /// Takes over the caller's reference.
    explicit Client(IApp* app) noexcept : m_app(app) {}

    /// Lets the object go. A browser that it still has keeps running, and is free again.
    ~Client() { Release(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// The same before the end; nothing else may be called any more.
    void Release() noexcept
    {
        if (IApp* app = Forget()) {
            app->Release();
        }
    }

    /// Gives the reference to the caller; nothing else may be called any more.
    IApp* Forget() noexcept { return std::exchange(m_app, nullptr); }

    /// Borrowed.
    IApp* Get() const noexcept { return m_app; }

    /// tvnInit([commandLine], [openNewBrowser = True], [user], [password], [domain],
    ///         [timeout = 30]), with the credentials behind what is given more often.
    int Init(const VARIANT& commandLine = Argument(), bool openNewBrowser = true, LONG timeout = 30,
             const VARIANT& user = Argument(), const VARIANT& password = Argument(),
             const VARIANT& domain = Argument())
    {
        const VARIANT_BOOL isNew = openNewBrowser ? VARIANT_TRUE : VARIANT_FALSE;
        return Act(&IApp::tvnInit, commandLine, isNew, user, password, domain, timeout);
    }

    /// tvnSet(sVariable, sValue)
    int Set(std::wstring_view variable, std::wstring_view value)
    {
        return Act(&IApp::tvnSet, Text(variable).Get(), Text(value).Get());
    }

    /// tvnPlay(inText, [timeout = 600])
    int Play(std::wstring_view text, LONG timeout = 600)
    {
        return Act(&IApp::tvnPlay, Text(text).Get(), timeout);
    }

    /// tvnDisplay(text, [timeout = 10])
    int Display(std::wstring_view text, LONG timeout = 10)
    {
        return Act(&IApp::tvnDisplay, Text(text).Get(), timeout);
    }

    /// tvnExit([timeout = 10])
    int Exit(LONG timeout = 10) { return Act(&IApp::tvnExit, timeout); }

    /// tvnGetLastError()
    std::wstring LastError() { return Get(&IApp::tvnGetLastError); }

    /// tvnGetLastExtract([index]): left out, the whole extract.
    std::wstring LastExtract(const VARIANT& index = Argument())
    {
        return Get(&IApp::tvnGetLastExtract, index);
    }

    /// tvnGetInterfaceVersion()
    LONG InterfaceVersion()
    {
        LONG version = 0;
        ComError::Check(m_app->tvnGetInterfaceVersion(&version));
        return version;
    }

  private:
    template <class Method, class... Arguments>
    int Act(Method method, const Arguments&... arguments)
    {
        int status = sFail;  // holds numbers that the enumeration does not name
        ComError::Check((m_app->*method)(arguments..., reinterpret_cast<Status*>(&status)));
        return status;
    }

    template <class Method, class... Arguments>
    std::wstring Get(Method method, const Arguments&... arguments)
    {
        BSTR value = nullptr;
        ComError::Check((m_app->*method)(arguments..., &value));
        const std::wstring text(value, SysStringLen(value));
        SysFreeString(value);
        return text;
    }

    IApp* m_app = nullptr;
};

/// Closes a client's browser when a scope is left without having done so.
class ExitScope
{
  public:
    explicit ExitScope(Client& client) noexcept : m_client(client) {}
    ~ExitScope()
    {
        if (!m_done) {
            int status = sFail;
            static_cast<void>(m_client.Get()->tvnExit(10, reinterpret_cast<Status*>(&status)));
        }
    }
    ExitScope(const ExitScope&) = delete;
    ExitScope& operator=(const ExitScope&) = delete;

    /// The Status of the `tvnExit` that this makes now.
    int Exit(LONG timeout = 10)
    {
        m_done = true;
        return m_client.Exit(timeout);
    }

  private:
    Client& m_client;
    bool m_done = false;
};

}  // namespace talvern
