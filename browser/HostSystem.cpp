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

void EndOnHost(const std::vector<unsigned long>& pids, const std::wstring& profile, bool removes)
{
    if (UnixFileNames() == nullptr) {
        return;
    }
    // One tool for all of it: to start one takes longer than what it does. What a process had begun
    // when it was ended may still make a file.
    std::wstring line =
        LR"(sh -c "
        cd /proc
        if [ $# = 0 ]; then
            for file in $(grep -lsF -e \"--user-data-dir=$0\" [0-9]*/cmdline); do
                set -- $@ -${file%/*} ${file%/*}
            done
        else
            set -- -$1 $@
        fi
        kill -9 $@ 2>/dev/null
        )";
    if (removes) {
        line +=
            LR"(
        rm -rf \"$0\"; sleep 0.1; rm -rf \"$0\" || { sleep 1; rm -rf \"$0\"; })";
    }
    line += L"\" \"" + HostPath(profile) + L"\"";
    for (const unsigned long pid : pids) {
        line += L" " + std::to_wstring(pid);
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (CreateProcessW(L"\\\\?\\unix\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                       nullptr, &startup, &started)) {
        const tvn::Handle process(started.hProcess);
        const tvn::Handle thread(started.hThread);
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
