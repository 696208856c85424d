#include "browser/HostSystem.h"

#include <fstream>
#include <string>

#include "basicslib/Handle.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

using GetUnixFileName = char*(CDECL*)(const WCHAR*);

GetUnixFileName UnixFileNames()
{
    HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    return reinterpret_cast<GetUnixFileName>(
        reinterpret_cast<void*>(GetProcAddress(kernel, "wine_get_unix_file_name")));
}

/// There is no handle of such a process, so nobody waits for it.
bool RunTool(const std::wstring& name, const std::wstring& arguments)
{
    std::wstring line = name + L" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW((L"\\\\?\\unix\\bin\\" + name).c_str(), line.data(), nullptr, nullptr,
                        FALSE, 0, nullptr, nullptr, &startup, &started)) {
        return false;
    }
    const tvn::Handle process(started.hProcess);
    const tvn::Handle thread(started.hThread);
    return true;
}

}  // namespace

bool IsHostProgram(const std::wstring& program)
{
    DWORD kind = 0;
    return UnixFileNames() != nullptr && !GetBinaryTypeW(program.c_str(), &kind);
}

std::wstring HostPath(const std::wstring& path)
{
    char* const name = UnixFileNames()(path.c_str());
    if (name == nullptr) {
        return path;
    }
    std::wstring result = FromUtf8(name);
    HeapFree(GetProcessHeap(), 0, name);
    return result;
}

bool RemoveOnHost(const std::wstring& folder)
{
    return UnixFileNames() != nullptr && RunTool(L"rm", L"-rf \"" + HostPath(folder) + L"\"");
}

void KillOnHost(const std::vector<unsigned long>& pids)
{
    std::wstring arguments = L"-9";
    for (const unsigned long pid : pids) {
        arguments += L" " + std::to_wstring(pid);
    }
    if (!pids.empty()) {
        RunTool(L"kill", arguments);
    }
}

bool RunsOnHost(unsigned long pid)
{
    // A process that has ended but that nobody has asked about yet has no command line any more.
    const std::wstring name = L"\\\\?\\unix\\proc\\" + std::to_wstring(pid) + L"\\cmdline";
    std::ifstream commandLine(name.c_str(), std::ios::binary);
    return commandLine.get() != std::ifstream::traits_type::eof();
}

}  // namespace browser
