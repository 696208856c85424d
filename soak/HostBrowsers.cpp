#include "soak/HostBrowsers.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace soak
{
namespace
{

constexpr const char* kProfilePrefix = "talvern-profile-";

/// The names that match a pattern.
std::vector<std::string> Found(const std::string& pattern)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAA entry = {};
    HANDLE search = FindFirstFileA(pattern.c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return names;
    }
    do {
        names.emplace_back(entry.cFileName);
    } while (FindNextFileA(search, &entry));
    FindClose(search);
    return names;
}

/// The words of a process of the machine, divided by zeros.
std::string CommandLineOf(const std::string& pid)
{
    std::ifstream file("Z:\\proc\\" + pid + "\\cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

bool HostBrowsers::AreVisible()
{
    return GetFileAttributesA("Z:\\proc\\self\\status") != INVALID_FILE_ATTRIBUTES;
}

std::vector<int> HostBrowsers::Processes()
{
    std::vector<int> browsers;
    std::vector<int> others;
    for (const std::string& name : Found("Z:\\proc\\*")) {
        const int pid = std::atoi(name.c_str());
        const std::string line = pid == 0 ? std::string() : CommandLineOf(name);
        if (line.find(std::string("--user-data-dir=")) == std::string::npos ||
            line.find(kProfilePrefix) == std::string::npos) {
            continue;
        }
        (line.find("--type=") == std::string::npos ? browsers : others).push_back(pid);
    }
    browsers.insert(browsers.end(), others.begin(), others.end());
    return browsers;
}

void HostBrowsers::Signal(const char* name)
{
    for (const int pid : Processes()) {
        std::string line = "Z:\\bin\\kill -" + std::string(name) + " " + std::to_string(pid);
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                           &startup, &process)) {
            CloseHandle(process.hThread);
            CloseHandle(process.hProcess);
        }
    }
    Sleep(200);  // there is nothing to wait for: such a program has no handle here
}

std::vector<std::string> HostBrowsers::ProfileFolders()
{
    char folder[MAX_PATH] = "";
    GetTempPathA(MAX_PATH, folder);
    return Found(std::string(folder) + kProfilePrefix + "*");
}

}  // namespace soak
