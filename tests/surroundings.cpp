#include "tests/surroundings.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "basicslib/Handle.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/PipeNames.h"
#include "process/Process.h"
#include "tests/byte_peer.h"
#include "tests/count_request.h"
#include "tests/texts.h"

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

std::string StandinFolder()
{
    return BuildFolder() + "\\standins";
}

/// By force; the build that counts what runs gets the counts of the process before.
static void End(IProcess& process)
{
    constexpr DWORD kAccess = PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE;
    EndWithCounts(Handle(OpenProcess(kAccess, FALSE, process.GetPid())).Get());
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

std::string Ran(const std::string& commandLine)
{
    // Through a file, which what the program leaves behind may keep open.
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const std::string printed =
        BuildFolder() + "\\printed-" + std::to_string(GetCurrentThreadId()) + ".txt";
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    PROCESS_INFORMATION started = {};
    DWORD exitCode = 12345;
    {
        const Handle file(CreateFileA(printed.c_str(), GENERIC_WRITE, kShared, &inherited,
                                      CREATE_ALWAYS, 0, nullptr));
        startup.hStdOutput = startup.hStdError = file.Get();
        EXPECT_TRUE(CreateProcessA(nullptr, std::string(commandLine).data(), nullptr, nullptr, TRUE,
                                   0, nullptr, nullptr, &startup, &started))
            << commandLine;
        const Handle process(started.hProcess);
        const Handle thread(started.hThread);
        EXPECT_EQ(WaitForSingleObject(process.Get(), 60000), WAIT_OBJECT_0) << commandLine;
        GetExitCodeProcess(process.Get(), &exitCode);
    }
    std::string text = Contents(printed);
    std::erase(text, '\r');
    return std::to_string(exitCode) + "|" + text;
}

boost::shared_ptr<IProcess> StartedAndLeft(const std::string& program)
{
    // Without a buffer, who writes waits for the reader that goes away.
    BytePeer starter(static_cast<const char*>(CallbackPipeName(L"left")), nullptr, 0);
    auto process = Started(program, "/pipeUuid=left");
    starter.Connect();
    return process;
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

}  // namespace tvn::tests
