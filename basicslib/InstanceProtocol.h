#pragma once

#include <windows.h>

#include <string_view>

namespace tvn
{

/// What a scripting object and a browser instance agree on, beyond the bytes of their messages: how
/// an instance is found, what it is told, and how its answers are cut. Both sides include this
/// header; docs/protocol.md tells the same to whoever writes another instance.

/// Title of the hidden window by which every instance is found.
inline constexpr const wchar_t* kInstanceWindowTitle = L"Talvern Instance Window";

/// The commands of an instance's command pipe.
inline constexpr const wchar_t* kCommandAttachIfFree = L"tvnAuxAttachIfFree";
inline constexpr const wchar_t* kCommandAttachedCount = L"tvnAuxAttachedCount";
inline constexpr const wchar_t* kCommandPlay = L"PLAY";
inline constexpr const wchar_t* kCommandDisplay = L"appSendText";
inline constexpr const wchar_t* kCommandEnd = L"appEnd";

/// The argument of a play is " -macro TEXT " and then, for each variable, " NAME VALUE".
inline constexpr std::wstring_view kMacroSwitch = L"-macro";
inline constexpr std::wstring_view kVariablePrefix = L"-var_";

/// A character that cannot stand in a macro or a value, and what stands there for it.
struct ArgumentEscape
{
    wchar_t character;
    std::wstring_view mark;
};
inline constexpr ArgumentEscape kArgumentEscapes[] = {
    {L' ', L"[SP]"}, {L'\n', L"[LF]"}, {L'\r', L"[BR]"}};

/// Status with which an instance says that it has played the macro to its end.
inline constexpr int kMacroPlayed = 2;

/// Divides the error part of a play's reply from what the macro extracted.
inline constexpr std::wstring_view kErrorSeparator = L"[tvn!E!tvn]";

/// Divides the extracted pieces.
inline constexpr std::wstring_view kExtractSeparator = L"[EXTRACT]";

/// A window handle as it crosses processes, and back: 32 bits, widened with zeros.
inline DWORD WindowValue(HWND window) noexcept
{
    return static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(window));
}
inline HWND WindowFromValue(DWORD value) noexcept
{
    return reinterpret_cast<HWND>(static_cast<ULONG_PTR>(value));
}

}  // namespace tvn
