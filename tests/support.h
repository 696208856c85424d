// What the tests share: this program's surroundings, pipes under the test's control, replaced
// imports, and the scripting object as a compiled client sees it.
#pragma once

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Interface/App.h"
#include "basicslib/ComString.h"
#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"
#include "basicslib/StatusCode.h"
#include "comserver/ComPtr.h"
#include "pipeutils/BaseProtocol.h"
#include "pipeutils/PipeServerBase.h"
#include "process/Instance.h"
#include "process/Process.h"
#include "tests/log_capture.h"

namespace tvn::tests
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using Bytes = std::vector<unsigned char>;
using Instances = std::vector<boost::shared_ptr<Instance>>;
using Processes = std::vector<boost::shared_ptr<IProcess>>;
template <class First, class Second>
using Pairs = std::vector<std::pair<First, Second>>;

inline const std::string kDebug = "[tvn::debug] ";
inline const std::string kError = "[................tvn::error] ";
inline const std::string kTrace = "[tvn::HI_LEVEL_PROTOCOL] [C] ";
inline const ComString kNone;

// ---- surroundings

/// Keys below HKEY_LOCAL_MACHINE; those of the 32-bit view have their whole path.
inline const std::string kSoftware32 = "SOFTWARE\\WOW6432Node\\";
inline const std::string kProductKey = kSoftware32 + "Talvern";
void SetRegistryValue(const std::string& key, const char* name, const std::string& value,
                      DWORD type = REG_SZ);
void DeleteRegistryKey(const std::string& key);

/// Folder of this program's build, and the one below it with the stand-ins.
std::string BuildFolder();
std::string StandinFolder();

/// The most bytes asked for at once since a test last set this to 0.
extern std::size_t g_largestAllocation;

/// The handles that this process has open.
std::ptrdiff_t CountHandles();

/// Milliseconds that `work` takes.
template <class Work>
long long Elapsed(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(1);
}

/// Matches from `least` to below `most`.
testing::Matcher<long long> Within(long long least, long long most);

/// Repeats `condition` until it is true; false when it is not after some seconds.
bool Eventually(const std::function<bool()>& condition);

/// Calls `action` from a message that this thread dispatches after `delay` milliseconds. One at a
/// time.
void CallLater(UINT delay, const std::function<void()>& action);

/// Starts a program of the build folder, which is ended with the last pointer to it.
boost::shared_ptr<IProcess> Started(const std::string& program, const std::string& arguments = "");

/// The running processes of an executable, and the end of those of all browsers.
Processes Running(const char* exe);
void EndBrowsers();

std::string Narrow(const ComString& text);
void ReplaceAll(std::string& text, const std::string& from, const std::string& to);

// ---- pipes

/// The operations that the pipe servers of the product share, for tests to call.
struct PipeServer : PipeServerBase
{
    using PipeServerBase::ConnectPipe;
    using PipeServerBase::CreatePipe;
    static boost::shared_ptr<Handle> NewEnd(const std::string& name);
};

boost::shared_ptr<Handle> NewEvent(bool set = false);

/// Little-endian 32-bit words, for messages written out by hand.
Bytes Words(std::initializer_list<std::uint32_t> words);

/// Both ends of a real pipe, connected: `server` is where the other side of a protocol would be.
struct PipePair
{
    explicit PipePair(const std::string& name = "\\\\.\\pipe\\TalvernTest");

    /// Writes and reads one pipe message on the server's side.
    void Send(const Bytes& bytes) const;
    Bytes Receive() const;

    boost::shared_ptr<Handle> server;
    boost::shared_ptr<Handle> client;
};

// ---- imports

/// This program's own entries stand in the place of some of the platform's imports, for the
/// statically linked product as well. They pass every call on unless a test sets something here.
struct ReplacedImports
{
    DWORD tickOffset = 0;            ///< added to GetTickCount
    bool failCreateEvent = false;    ///< with ERROR_NO_SYSTEM_RESOURCES
    std::wstring failRegistryValue;  ///< RegSetValueExW fails for this value: ERROR_ACCESS_DENIED
    std::string newPipe;             ///< the arguments of the last CreateNamedPipeA but its name
    bool logonSucceeds = false;      ///< CreateProcessWithLogonW gives a process with the id 4711
    std::wstring logon;              ///< its last arguments, divided by bars
};

extern ReplacedImports g_imports;

// ---- the scripting object

/// A script's variable that holds `value`, as it arrives.
VARIANT Referring(VARIANT& value);

/// Called through its virtual table. Every call checks that the HRESULT is S_OK.
class AppClient
{
  public:
    AppClient();
    IApp* Get() const { return m_app.Get(); }
    void Release() { m_app.Detach()->Release(); }

    int Init(const VARIANT& line = LeftOut(), bool openNew = true, LONG time = 20,
             const VARIANT& user = LeftOut(), const VARIANT& password = LeftOut(),
             const VARIANT& domain = LeftOut())
    {
        const VARIANT_BOOL start = openNew ? VARIANT_TRUE : VARIANT_FALSE;
        return Run(&IApp::tvnInit, line, start, user, password, domain, time);
    }
    int Init(const char* line, bool openNew = true, LONG time = 20)
    {
        return Init(_variant_t(line), openNew, time);
    }
    int Play(std::string_view text, LONG time = 20)
    {
        return Run(&IApp::tvnPlay, ToComString(text), time);
    }
    int Display(const char* text) { return Run(&IApp::tvnDisplay, _bstr_t(text), 10); }
    int Exit(LONG time = 10) { return Run(&IApp::tvnExit, time); }
    int Set(const _bstr_t& name, const _bstr_t& value) { return Run(&IApp::tvnSet, name, value); }
    std::string Error() { return Text(&IApp::tvnGetLastError); }
    std::string Extract(const VARIANT& i = LeftOut()) { return Text(&IApp::tvnGetLastExtract, i); }

    /// "ERROR|EXTRACT|PIECE|PIECE..." as the object has them.
    std::string Texts();

    /// The status of a play and the texts after it.
    std::string Played(std::string_view text, LONG time = 20)
    {
        const int status = Play(text, time);
        return std::to_string(status) + "|" + Texts();
    }

    /// The form in which an argument that a late-bound caller leaves out arrives.
    static _variant_t LeftOut() { return {DISP_E_PARAMNOTFOUND, VT_ERROR}; }

  private:
    template <class Method, class... Arguments>
    int Run(Method method, const Arguments&... arguments)
    {
        int status = 12345;
        EXPECT_EQ((Get()->*method)(arguments..., reinterpret_cast<Status*>(&status)), S_OK);
        return status;
    }
    template <class Method, class... Arguments>
    std::string Text(Method method, const Arguments&... arguments)
    {
        BSTR value = nullptr;
        EXPECT_EQ((Get()->*method)(arguments..., &value), S_OK);
        EXPECT_NE(value, nullptr);
        return Narrow(ComString(value, false));
    }

    comserver::ComPtr<IApp> m_app;
};

}  // namespace tvn::tests
