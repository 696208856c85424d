#include "soak/StandinBrowsers.h"

#include <windows.h>

#include <tlhelp32.h>

#include <boost/shared_ptr.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "basicslib/Handle.h"
#include "basicslib/StatusCode.h"
#include "process/InstancesMgr.h"
#include "process/Process.h"

namespace soak
{

void StartFreeBrowser(const char* name)
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string program = path;
    const std::string folder = program.substr(0, program.rfind('\\', program.rfind('\\') - 1));
    const std::string exe = std::string(name) + ".exe";
    tvn::Process browser;
    const std::string browserPath = folder + "\\standins\\" + exe;
    if (browser.Start(browserPath.c_str(), "", "", "", "", 0) != tvn::sOk) {
        throw std::runtime_error("the stand-in browser cannot be started: " + browserPath);
    }
    for (int tries = 0; tries < 200; ++tries, Sleep(20)) {
        std::vector<boost::shared_ptr<tvn::Instance>> instances;
        tvn::InstancesMgr().GetInstancesByName(instances, exe.c_str(), 0);
        if (!instances.empty()) {
            return;
        }
    }
    throw std::runtime_error("the stand-in browser cannot be found: " + browserPath);
}

void EndBrowsers()
{
    const tvn::Handle processes(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL found = Process32FirstW(processes.Get(), &entry); found;
         found = Process32NextW(processes.Get(), &entry)) {
        for (const wchar_t* const exe : {L"talvern.exe", L"firefox.exe", L"iexplore.exe"}) {
            if (_wcsicmp(entry.szExeFile, exe) == 0) {
                const tvn::Handle browser(
                    OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, entry.th32ProcessID));
                TerminateProcess(browser.Get(), 1);
                WaitForSingleObject(browser.Get(), 5000);
            }
        }
    }
}

void SetBrowserFault(const char* word)
{
    SetEnvironmentVariableA("TALVERN_STANDIN", word);
}

}  // namespace soak
