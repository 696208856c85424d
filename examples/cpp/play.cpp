// One whole cycle in C++, early bound: starts a browser, gives values to variables, plays a macro,
// prints what it extracted, and closes the browser. A step that fails is explained, and the
// program then ends with exit code 1.
//
//     play [MACRO [COMMAND LINE OF tvnInit [SECONDS]]]
//
// Needs C++17, Interface.h, Interface_i.c, and the libraries ole32, oleaut32 and shell32.

#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <cwchar>
#include <exception>
#include <string>

#include "StatusHelp.h"
#include "TalvernClient.h"

namespace
{

/// Pages hold texts of all scripts; the console is told to expect them in this form.
std::string Utf8(const std::wstring& text)
{
    const int units = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

/// Prints the Status of a method; any other than 1 is explained.
bool Succeeded(talvern::Client& client, const char* method, int status)
{
    std::printf("%s: %d\n", method, status);
    if (status == sOk) {
        return true;
    }
    const std::wstring error = client.LastError();
    if (std::string_view(method) != "tvnExit" && !error.empty()) {
        std::printf("error text: %s\n", Utf8(error).c_str());
    }
    std::printf("%s\n", talvern::StatusHelp(method, status).c_str());
    return false;
}

bool PlayMacro(talvern::Client& client, const std::wstring& macro, long seconds)
{
    client.Set(L"city", L"New York");
    client.Set(L"nights", L"3");
    const bool played = Succeeded(client, "tvnPlay", client.Play(macro, seconds));
    for (long index = 1; index <= 32767; ++index) {
        const std::wstring piece = client.LastExtract(talvern::Argument(index));
        if (piece == L"NODATA") {
            break;
        }
        std::printf("%ld: %s\n", index, Utf8(piece).c_str());
    }
    return played;
}

}  // namespace

int main()
{
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    const std::wstring macro = count > 1 ? arguments[1] : L"Hotel Search";
    const std::wstring commandLine = count > 2 ? arguments[2] : L"";
    const long seconds = count > 3 ? std::wcstol(arguments[3], nullptr, 10) : 60;
    LocalFree(arguments);
    SetConsoleOutputCP(CP_UTF8);
    try {
        const talvern::Apartment apartment;
        talvern::Client client;
        if (!Succeeded(client, "tvnInit",
                       client.Init(talvern::Argument(commandLine), true, seconds))) {
            return 1;
        }
        talvern::ExitScope exit(client);  // whatever goes wrong from here, the browser is closed
        const bool played = PlayMacro(client, macro, seconds);
        return Succeeded(client, "tvnExit", exit.Exit()) && played ? 0 : 1;
    } catch (const std::exception& exception) {
        std::printf("error: %s\n", exception.what());
        return 1;
    }
}
