#include "browser/HostSystem.h"

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

/// Runs a script of that machine's shell without waiting for it; "$0" in it is `profile`.
bool RunShell(const wchar_t* script, const std::wstring& profile, const std::wstring& arguments)
{
    std::wstring line =
        std::wstring(L"sh -c \"") + script + L"\" \"" + HostPath(profile) + L"\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(L"\\\\?\\unix\\bin\\sh", line.data(), nullptr, nullptr, FALSE,
                        CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup, &started)) {
        return false;
    }
    const tvn::Handle process(started.hProcess);
    const tvn::Handle thread(started.hThread);
    return true;
}

/// Made by the shell when the pipes are there, and when the browser has ended.
std::wstring ReadyFile(const std::wstring& profile)
{
    return profile + L"\\ready";
}

std::wstring EndFile(const std::wstring& profile)
{
    return profile + L"\\ended";
}

bool IsThere(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
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

bool StartOnHost(const std::wstring& profile, const std::wstring& commandLine)
{
    DeleteFileW(ReadyFile(profile).c_str());
    DeleteFileW(EndFile(profile).c_str());
    // The shell opens the output before "ready" says that it is there: a pipe without a writer has
    // ended. It waits for the input to be opened by this program, its only writer, with whose end
    // the browser ends. Then both are open, and need no names any more.
    return RunShell(
        LR"({
            rm -f \"$0/input\" \"$0/output\"
            mkfifo -m 600 \"$0/input\" \"$0/output\"
            {
                : >\"$0/ready\"
                { rm -f \"$0/input\" \"$0/output\"; \"$@\"; } 3<\"$0/input\"
            } 4<>\"$0/output\" >\"$0/output.txt\" 2>&1
            : >\"$0/ended\"
        } 2>/dev/null)",
        profile, commandLine);
}

Pipes OpenHostPipes(const std::wstring& profile)
{
    if (!IsThere(ReadyFile(profile))) {
        return {};
    }
    const auto open = [&](const wchar_t* name, DWORD access) {
        return boost::make_shared<tvn::Handle>([&] {
            return CreateFileW((profile + name).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
        });
    };
    const auto output = open(L"\\output", GENERIC_READ);
    const auto input = open(L"\\input", GENERIC_WRITE);
    return input->IsValid() ? Pipes{input, output} : Pipes();
}

void EndOnHost(const std::wstring& profile, bool removes)
{
    if (UnixFileNames() == nullptr) {
        return;
    }
    DeleteFileW(EndFile(profile).c_str());  // that there is one again tells that all is done
    // One tool for all of it: to start one takes longer than what it does. What a process had begun
    // when it was ended may still make a file.
    std::wstring script =
        LR"(
        cd /proc
        for file in $(grep -lszxF -e \"--user-data-dir=$0\" [0-9]*/cmdline); do
            set -- $@ -${file%/*} ${file%/*}
        done
        kill -9 $@ 2>/dev/null
        )";
    script += removes ? LR"(rm -rf \"$0\"; sleep 0.1; rm -rf \"$0\" || { sleep 1; rm -rf \"$0\"; })"
                      : LR"(: >\"$0/ended\")";
    RunShell(script.c_str(), profile, L"");
}

bool HasEndedOnHost(const std::wstring& profile)
{
    return IsThere(EndFile(profile)) || !IsThere(profile);
}

}  // namespace browser
