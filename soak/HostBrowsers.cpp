#include "soak/HostBrowsers.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "basicslib/Handle.h"

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

/// The words of a process of the machine, divided by zeros; empty when it has ended meanwhile.
std::string CommandLineOf(const std::string& pid)
{
    std::string line(8192, '\0');
    const tvn::Handle file(CreateFileA(("Z:\\proc\\" + pid + "\\cmdline").c_str(), GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                       0, nullptr));
    DWORD read = 0;
    if (!file.IsValid() ||
        !ReadFile(file.Get(), line.data(), static_cast<DWORD>(line.size()), &read, nullptr)) {
        return {};
    }
    line.resize(read);
    return line;
}

std::set<std::string> g_noted;

bool RunsOnNotedProfile(const std::string& line)
{
    return std::any_of(g_noted.begin(), g_noted.end(), [&](const std::string& profile) {
        return line.find(profile) != std::string::npos;
    });
}

}  // namespace

bool HostBrowsers::AreVisible()
{
    return GetFileAttributesA("Z:\\proc\\self\\status") != INVALID_FILE_ATTRIBUTES;
}

void HostBrowsers::Note()
{
    const std::vector<std::string> folders = ProfileFolders();
    g_noted.insert(folders.begin(), folders.end());
}

std::vector<int> HostBrowsers::Processes()
{
    Note();
    std::vector<int> pids;
    for (const std::string& name : Found("Z:\\proc\\*")) {
        const auto pid = static_cast<int>(std::strtol(name.c_str(), nullptr, 10));
        if (pid != 0 && RunsOnNotedProfile(CommandLineOf(name))) {
            pids.push_back(pid);
        }
    }
    return pids;
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
    std::vector<std::string> folders = Found(std::string(folder) + kProfilePrefix + "*");
    // (A file with the owner's mark stands beside each.)
    folders.erase(
        std::remove_if(folders.begin(), folders.end(),
                       [](const std::string& name) { return name.find('.') != std::string::npos; }),
        folders.end());
    return folders;
}

}  // namespace soak
