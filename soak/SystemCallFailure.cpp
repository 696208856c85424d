#include "soak/SystemCallFailure.h"

namespace soak
{
namespace
{

using enum Failing;

constexpr SystemCall kCalls[] = {
    {"CLSIDFromProgID", Hresult},
    {"CancelIo", ZeroAfterwards},
    {"CancelIoEx", ZeroAfterwards},
    {"CloseHandle", ZeroAfterwards},
    {"CoTaskMemFree", Never},
    {"CommandLineToArgvW", Zero},
    {"ConnectNamedPipe", Zero},
    {"CreateEventA", Zero},
    {"CreateFileA", MinusOne},
    {"CreateNamedPipeA", MinusOne},
    {"CreateProcessA", Zero},
    {"CreateProcessWithLogonW", Zero},
    {"DeleteCriticalSection", Never},
    {"DispatchMessageA", Never},
    {"DisableThreadLibraryCalls", Never},
    {"DuplicateHandle", Zero},
    {"EnterCriticalSection", Never},
    {"EnumChildWindows", Zero},
    {"EnumWindows", Zero},
    {"ExpandEnvironmentStringsA", Zero},
    {"FindResourceW", Zero},
    {"GetCurrentProcess", Never},
    {"GetCurrentProcessId", Never},
    {"GetCurrentThreadId", Never},
    {"GetLastError", Never},
    {"GetModuleFileNameW", Zero},
    {"GetModuleHandleExW", Zero},
    {"GetOverlappedResult", Zero},
    {"GetQueueStatus", Never},
    {"GetTickCount", Never},
    {"GetWindowLongA", Zero},
    {"GetWindowTextA", Zero},
    {"GetWindowTextLengthA", Zero},
    {"GetWindowThreadProcessId", Zero},
    {"InitializeCriticalSection", Never},
    {"InitializeSecurityDescriptor", Zero},
    {"InternalGetWindowText", Zero},
    {"K32EnumProcessModules", Zero},
    {"K32EnumProcesses", Zero},
    {"K32GetModuleFileNameExA", Zero},
    {"LeaveCriticalSection", Never},
    {"LoadResource", Zero},
    {"LoadTypeLibEx", Hresult},
    {"LocalFree", Never},
    {"LockResource", Zero},
    {"MsgWaitForMultipleObjects", MinusOne},
    {"MsgWaitForMultipleObjectsEx", MinusOne},
    {"MultiByteToWideChar", Zero},
    {"OpenProcess", Zero},
    {"OutputDebugStringA", Never},
    {"PeekMessageA", Never},
    {"PeekNamedPipe", Zero},
    {"PostQuitMessage", Never},
    {"QueryPathOfRegTypeLib", Hresult},
    {"ReadFile", Zero},
    {"RegCloseKey", CodeAfterwards},
    {"RegCreateKeyExW", Code},
    {"RegDeleteTreeW", Code},
    {"RegEnumKeyA", Code},
    {"RegEnumKeyExA", Code},
    {"RegOpenKeyExA", Code},
    {"RegOpenKeyExW", Code},
    {"RegOverridePredefKey", Code},
    {"RegQueryValueExA", Code},
    {"RegSetValueExW", Code},
    {"RegisterTypeLib", Hresult},
    {"RpcStringFreeW", CodeAfterwards},
    {"SetEvent", Zero},
    {"SetLastError", Never},
    {"SetNamedPipeHandleState", Zero},
    {"SetSecurityDescriptorDacl", Zero},
    {"SizeofResource", Zero},
    {"Sleep", Never},
    {"StringFromCLSID", Hresult},
    {"SysAllocString", ComString},
    {"SysAllocStringByteLen", ComString},
    {"SysAllocStringLen", ComString},
    {"SysFreeString", ComStringFreed},
    {"SysStringByteLen", Never},
    {"SysStringLen", Never},
    {"TerminateProcess", Zero},
    {"TranslateMessage", Never},
    {"UnRegisterTypeLib", Hresult},
    {"UuidCreate", Code},
    {"UuidToStringW", Code},
    {"VariantChangeType", Hresult},
    {"VariantClear", Never},
    {"VariantCopyInd", Hresult},
    {"VariantInit", Never},
    {"WaitForMultipleObjects", MinusOne},
    {"WaitForSingleObject", MinusOne},
    {"WideCharToMultiByte", Zero},
    {"WriteFile", Zero},
    {"malloc", Zero},
};

}  // namespace

const SystemCall* FindSystemCall(std::string_view name)
{
    for (const SystemCall& call : kCalls) {
        if (call.name == name) {
            return &call;
        }
    }
    return nullptr;
}

}  // namespace soak
