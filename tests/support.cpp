#include "tests/support.h"

#include <algorithm>
#include <new>
#include <sstream>

#include "Interface/ServerModule.h"
#include "pipeutils/RemotePipeClient.h"
#include "pipeutils/WaitPumping.h"

namespace tvn::tests
{
std::size_t g_largestAllocation = 0;
}

void* operator new(std::size_t size)
{
    tvn::tests::g_largestAllocation = std::max(tvn::tests::g_largestAllocation, size);
    void* memory = HeapAlloc(GetProcessHeap(), 0, size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    HeapFree(GetProcessHeap(), 0, memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    HeapFree(GetProcessHeap(), 0, memory);
}

namespace tvn::tests
{

void SetRegistryValue(const std::string& key, const char* name, const std::string& value,
                      DWORD type)
{
    const auto size = static_cast<DWORD>(value.size() + 1);
    EXPECT_EQ(RegSetKeyValueA(HKEY_LOCAL_MACHINE, key.c_str(), name, type, value.c_str(), size), 0);
}

void DeleteRegistryKey(const std::string& key)
{
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, key.c_str());
}

std::string BuildFolder()
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string program = path;
    return program.substr(0, program.rfind('\\', program.rfind('\\') - 1));
}

std::string StandinFolder()
{
    return BuildFolder() + "\\standins";
}

std::ptrdiff_t CountHandles()
{
    // What the runtime opens once, for the first thread, debug line, exception and wait, is not
    // counted.
    static const DWORD opened = [] {
        std::thread([] { OutputDebugStringA(""); }).join();
        EXPECT_THROW(throw InvalidOperationException(), BaseException);
        return WaitPumping(NewEvent(true)->Get(), 0);
    }();
    EXPECT_EQ(opened, 0U);
    // The system's own count is not there on every platform: every value in use answers. What a
    // thread that ends still holds for a moment does not count.
    std::ptrdiff_t least = PTRDIFF_MAX;
    for (int rounds = 0; rounds < 3; ++rounds, Sleep(10)) {
        std::ptrdiff_t count = 0;
        for (ULONG_PTR value = 4; value < 0x2000; value += 4) {
            DWORD flags = 0;
            count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags);
        }
        least = std::min(least, count);
    }
    return least;
}

testing::Matcher<long long> Within(long long least, long long most)
{
    return testing::AllOf(testing::Ge(least), testing::Lt(most));
}

bool Eventually(const std::function<bool()>& condition)
{
    for (int tries = 0; tries < 500 && !condition(); ++tries) {
        Sleep(20);
    }
    return condition();
}

void CallLater(UINT delay, const std::function<void()>& action)
{
    static std::function<void()> later;
    later = action;
    SetTimer(nullptr, 0, delay, [](HWND, UINT, UINT_PTR timer, DWORD) {
        KillTimer(nullptr, timer);
        later();
    });
}

static void End(IProcess& process)
{
    process.Terminate(0);
    process.WaitForExit(5000);
}

boost::shared_ptr<IProcess> Started(const std::string& program, const std::string& arguments)
{
    auto process = boost::make_shared<Process>();
    const std::string path = BuildFolder() + "\\" + program;
    EXPECT_EQ(process->Start(path.c_str(), arguments.c_str(), kNone, kNone, kNone, 0), sOk) << path;
    return {process.get(), [process](IProcess*) {
                End(*process);
            }};
}

Processes Running(const char* exe)
{
    Processes list;
    EXPECT_EQ(Process().GetProcessesByName(exe, list, 0), sOk);
    return list;
}

void EndBrowsers()
{
    for (const char* exe : {"talvern.exe", "firefox.exe", "iexplore.exe"}) {
        for (const auto& process : Running(exe)) {
            End(*process);
        }
    }
}

std::string Narrow(const ComString& text)
{
    return ToNarrow(ToView(text));
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

// ---- pipes

boost::shared_ptr<Handle> PipeServer::NewEnd(const std::string& name)
{
    DWORD error = 0;
    return boost::make_shared<Handle>(CreatePipe(name.c_str(), TRUE, error));
}

boost::shared_ptr<Handle> NewEvent(bool set)
{
    return boost::make_shared<Handle>(CreateEventA(nullptr, TRUE, set, nullptr));
}

Bytes Words(std::initializer_list<std::uint32_t> words)
{
    const auto* first = reinterpret_cast<const unsigned char*>(words.begin());
    return {first, first + words.size() * 4};
}

PipePair::PipePair(const std::string& name)
    : server(PipeServer::NewEnd(name)), client(RemotePipeClient(name.c_str()).OpenPipe())
{}

void PipePair::Send(const Bytes& bytes) const
{
    BaseProtocol pipe(server->Get(), nullptr);
    pipe.WritePipe(bytes.data(), static_cast<DWORD>(bytes.size()), 1000);
}

Bytes PipePair::Receive() const
{
    Bytes bytes(4096);
    bytes.resize(BaseProtocol(server->Get(), nullptr).ReadPipe(bytes.data(), 4096, 5000).bytes);
    return bytes;
}

// ---- the scripting object

VARIANT Referring(VARIANT& value)
{
    VARIANT reference = {};
    V_VT(&reference) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&reference) = &value;
    return reference;
}

AppClient::AppClient()
{
    comserver::ComPtr<IClassFactory> factory;
    void** const out = reinterpret_cast<void**>(factory.Receive());
    EXPECT_EQ(g_module.GetClassObject(CLSID_App, IID_IClassFactory, out), S_OK);
    void** const app = reinterpret_cast<void**>(m_app.Receive());
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IApp, app), S_OK);
}

std::string AppClient::Texts()
{
    std::string texts = Error() + "|" + Extract();
    std::string piece;
    for (long index = 1; (piece = Extract(_variant_t(index))) != "NODATA"; ++index) {
        texts += "|" + piece;
    }
    return texts;
}

// ---- imports

ReplacedImports g_imports;

/// The import itself. Looked up at every call: the runtime's own start needs some of these before
/// anything of this program is initialised, and a guarded static needs them too.
template <class Function>
static Function* Real(const char* name, const char* module = "kernel32")
{
    void* const address = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(module), name));
    return reinterpret_cast<Function*>(address);
}

static const char* Described(const SECURITY_ATTRIBUTES* security)
{
    if (security == nullptr) {
        return "default";
    }
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL* list = nullptr;
    GetSecurityDescriptorDacl(security->lpSecurityDescriptor, &present, &list, &defaulted);
    const bool isNull = present && list == nullptr && !defaulted;
    const bool complete = security->nLength == sizeof *security && security->bInheritHandle;
    return isNull && complete ? "inheritable, null list" : "other";
}

// The names under which the linker looks for the imports' addresses.
extern "C" {

constinit decltype(&GetTickCount) __imp_GetTickCount = [] {
    return Real<decltype(GetTickCount)>("GetTickCount")() + g_imports.tickOffset;
};

constinit decltype(&CreateEventA) __imp_CreateEventA = [](auto... arguments) -> HANDLE {
    auto* const real = Real<decltype(CreateEventA)>("CreateEventA");
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return g_imports.failCreateEvent ? nullptr : real(arguments...);
};

constinit decltype(&RegSetValueExW) __imp_RegSetValueExW =
    [](HKEY key, LPCWSTR name, DWORD zero, DWORD type, const BYTE* data, DWORD size) -> LSTATUS {
    auto* const real = Real<decltype(RegSetValueExW)>("RegSetValueExW", "advapi32");
    const std::wstring& fails = g_imports.failRegistryValue;
    const bool failing = !fails.empty() && fails == reinterpret_cast<const wchar_t*>(data);
    return failing ? ERROR_ACCESS_DENIED : real(key, name, zero, type, data, size);
};

constinit decltype(&CreateNamedPipeA) __imp_CreateNamedPipeA =
    [](LPCSTR name, DWORD openMode, DWORD pipeMode, DWORD count, DWORD out, DWORD in, DWORD time,
       SECURITY_ATTRIBUTES* security) {
        std::ostringstream text;
        text << std::hex << openMode << ' ' << pipeMode << std::dec << ' ' << count << ' ' << out
             << ' ' << in << ' ' << time << ' ' << Described(security);
        g_imports.newPipe = text.str();
        auto* const real = Real<decltype(CreateNamedPipeA)>("CreateNamedPipeA");
        return real(name, openMode, pipeMode, count, out, in, time, security);
    };

constinit decltype(&CreateProcessWithLogonW) __imp_CreateProcessWithLogonW =
    [](LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonFlags, LPCWSTR application,
       LPWSTR commandLine, DWORD flags, void* environment, LPCWSTR directory, STARTUPINFOW* startup,
       PROCESS_INFORMATION* process) -> BOOL {
    std::wostringstream text;
    const auto shown = [](LPCWSTR value) {
        return value == nullptr ? L"(null)" : value;
    };
    text << shown(user) << '|' << shown(domain) << '|' << shown(password) << '|' << logonFlags
         << '|' << shown(application) << '|' << shown(commandLine) << '|' << flags << '|'
         << environment << '|' << shown(directory) << '|' << startup->cb - sizeof *startup << '|'
         << startup->dwFlags << '|' << startup->wShowWindow;
    g_imports.logon = text.str();
    process->dwProcessId = 4711;
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return g_imports.logonSucceeds;
};
}

}  // namespace tvn::tests
