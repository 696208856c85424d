#pragma once

#include <windows.h>

#include <string_view>

namespace tvn
{

/// What a scripting object and a browser instance agree on, beyond the layout of their messages:
/// how an instance is found, which commands it takes, and how its replies are split. Both sides
/// include this header; docs/protocol.md documents the same for authors of other instances.

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

/// A character that cannot appear in a macro or a value, and the mark that replaces it.
struct ArgumentEscape
{
    wchar_t character;
    std::wstring_view mark;
};
inline constexpr ArgumentEscape kArgumentEscapes[] = {
    {L' ', L"[SP]"}, {L'\n', L"[LF]"}, {L'\r', L"[BR]"}};

/// Status with which an instance reports that it has played the macro to its end.
inline constexpr int kMacroPlayed = 2;

/// Separates the error part of a play's reply from what the macro extracted.
inline constexpr std::wstring_view kErrorSeparator = L"[tvn!E!tvn]";

/// Separates the extracted pieces.
inline constexpr std::wstring_view kExtractSeparator = L"[EXTRACT]";

/// Converts a window handle to the 32 bits that are sent between processes, and back by zero
/// extension.
inline DWORD WindowValue(HWND window) noexcept
{
    return static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(window));
}
inline HWND WindowFromValue(DWORD value) noexcept
{
    return reinterpret_cast<HWND>(static_cast<ULONG_PTR>(value));
}

}  // namespace tvn
