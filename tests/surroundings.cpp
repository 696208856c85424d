#include "tests/surroundings.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

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
    const std::string build = BuildFolder();
    return build.substr(0, build.rfind('\\', build.rfind('\\') - 1));
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
