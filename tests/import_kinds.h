// What the platform's functions open, close and take, told by their names.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tests/imported_calls.h"

namespace tvn::tests
{

/// Whether a name is among names that are divided by blanks, with one at either end.
constexpr bool IsOneOf(std::string_view name, std::string_view names)
{
    for (std::size_t at = 0; (at = names.find(name, at)) != std::string_view::npos; ++at) {
        if (names[at - 1] == ' ' && names[at + name.size()] == ' ') {
            return true;
        }
    }
    return false;
}

/// How many handles this call opens when it succeeds; negative for one that closes them.
constexpr int HandlesOpenedBy(std::string_view name)
{
    constexpr std::string_view kOpening =
        " CreateEventA CreateFileA CreateNamedPipeA DuplicateHandle OpenProcess ";
    const int closed = name == "CloseHandle" ? 1 : 0;
    return name == "CreateProcessA" ? 2 : IsOneOf(name, kOpening) - closed;
}

constexpr int TextsOpenedBy(std::string_view name)
{
    return name == "SysFreeString" ? -1 : name.starts_with("SysAlloc");
}

constexpr bool IsMemory(std::string_view name)
{
    return TextsOpenedBy(name) > 0 || IsOneOf(name, " malloc new ");
}

/// Whoever closes or cancels has nobody left to try it again: it is done, and may report a failure.
constexpr bool GivesBack(std::string_view name)
{
    return IsOneOf(name, " CancelIo CancelIoEx CloseHandle RegCloseKey RpcStringFreeW ");
}

/// Whether a call can fail in this way so that its caller sees it.
constexpr bool CanFail(std::string_view name, Fails how)
{
    constexpr std::string_view kCannot =
        " CoTaskMemFree DefWindowProcW DeleteCriticalSection DispatchMessageA DispatchMessageW "
        "EnterCriticalSection GetCurrentProcess GetCurrentThreadId GetLastError GetTickCount "
        "InitializeCriticalSection LeaveCriticalSection LocalFree OutputDebugStringA PeekMessageA "
        "PostQuitMessage SetLastError Sleep SysFreeString SysStringByteLen SysStringLen "
        "TranslateMessage VariantClear VariantInit ";
    if (IsOneOf(name, kCannot)) {
        return false;
    }
    // What opens something and says that it did not leaves that open by itself.
    constexpr std::string_view kOpening[] = {
        "Create",   "Open",       "Duplicate",    "RegOpen", "RegCreate", "SysAlloc",   "malloc",
        "operator", "StringFrom", "UuidToString", "Load",    "Variant",   "CommandLine"};
    return how != Fails::kThoughDone ||
           std::none_of(std::begin(kOpening), std::end(kOpening),
                        [name](std::string_view start) { return name.starts_with(start); });
}

}  // namespace tvn::tests
