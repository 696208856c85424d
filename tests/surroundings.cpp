#include "tests/surroundings.h"

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <boost/make_shared.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "basicslib/Handle.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/PipeNames.h"
#include "process/InstancesMgr.h"
#include "process/Process.h"
#include "tests/byte_peer.h"
#include "tests/texts.h"
#include "tools/lib/count_request.h"

namespace tvn::tests
{

void SetRegistryValue(const std::string& key, const char* name, const std::string& value,
                      DWORD type)
{
    const auto size = static_cast<DWORD>(value.size() + 1);
    EXPECT_EQ(RegSetKeyValueA(HKEY_LOCAL_MACHINE, key.c_str(), name, type, value.c_str(), size), 0);
}

std::string RegistryValue(const std::string& key, HKEY root)
{
    char text[512] = "";
    LONG size = sizeof text;
    const auto status = RegQueryValueA(root, key.c_str(), text, &size);
    return status == ERROR_SUCCESS ? text : "(none)";
}

std::string TreeFolder()
{
    return std::filesystem::path(BuildFolder()).parent_path().parent_path().string();
}

std::string BuildFolder()
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).parent_path().parent_path().string();
}

std::string TempFile(const std::string& name)
{
    return (std::filesystem::temp_directory_path() / name).string();
}

/// By force; the build that counts what runs gets the counts of the process before.
static void End(IProcess& process)
{
    constexpr DWORD kAccess = PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE;
    coverage::EndWithCounts(Handle(OpenProcess(kAccess, FALSE, process.GetPid())).Get());
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

std::string Contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Printed(const std::string& path)
{
    std::string text = Contents(path);
    std::erase(text, '\r');
    return text;
}

boost::shared_ptr<Handle> StartedInto(HANDLE output, std::string commandLine)
{
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = output == nullptr ? 0 : STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output;
    PROCESS_INFORMATION started = {};
    EXPECT_TRUE(CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, output != nullptr, 0,
                               nullptr, nullptr, &startup, &started))
        << commandLine;
    CloseHandle(started.hThread);
    return boost::make_shared<Handle>(started.hProcess);
}

DWORD ExitCodeOf(HANDLE process, DWORD time)
{
    EXPECT_EQ(WaitForSingleObject(process, time), WAIT_OBJECT_0);
    DWORD exitCode = 12345;
    GetExitCodeProcess(process, &exitCode);
    return exitCode;
}

std::string Ran(const std::string& commandLine)
{
    // Through a file, which what the program leaves behind may keep open.
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const std::string printed =
        TempFile("printed-" + std::to_string(GetCurrentThreadId()) + ".txt");
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const Handle file(CreateFileA(printed.c_str(), GENERIC_WRITE, kShared, &inherited,
                                  CREATE_ALWAYS, 0, nullptr));
    const DWORD exitCode = ExitCodeOf(StartedInto(file.Get(), commandLine)->Get(), 60000);
    return std::to_string(exitCode) + "|" + Printed(printed);
}

boost::shared_ptr<IProcess> StartedAndLeft(const std::string& program)
{
    // Without a buffer the writer still waits when the reader closes.
    BytePeer starter(static_cast<const char*>(CallbackPipeName(L"left")), nullptr, 0);
    auto process = Started(program, "/pipeUuid=left");
    starter.Connect();
    return process;
}

std::string AccountsOf(HANDLE pipe)
{
    void* descriptor = nullptr;
    char* text = nullptr;
    GetSecurityInfo(pipe, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr,
                    nullptr, &descriptor);
    ConvertSecurityDescriptorToStringSecurityDescriptorA(descriptor, SDDL_REVISION_1,
                                                         DACL_SECURITY_INFORMATION, &text, nullptr);
    std::string accounts = text == nullptr ? "" : text;
    LocalFree(text);
    LocalFree(descriptor);
    ReplaceAll(accounts, "GWGR", "GRGW");  // not every system begins with the same letter
    return std::regex_replace(accounts, std::regex("S-1-5-21[-0-9]+"), "own");
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

Instances InstancesOf(const wchar_t* program)
{
    Instances instances(3);  // what is in the list before goes
    EXPECT_EQ(InstancesMgr().GetInstancesByName(instances, program, 0), sOk);
    return instances;
}

}  // namespace tvn::tests
