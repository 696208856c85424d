// Two browsers that work at the same time: a thread for each, with a client of its own.
//
//     two_at_once [MACRO OF THE FIRST [MACRO OF THE SECOND]]
//
// Needs what play.cpp needs, and std::thread: of MinGW-w64's compilers, the one with posix threads.

#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <exception>
#include <string>
#include <thread>

#include "StatusHelp.h"
#include "TalvernClient.h"

namespace
{

/// Says which method of which browser did not succeed, and what to do.
bool Succeeded(int number, const char* method, int status)
{
    if (status != sOk) {
        std::printf("browser %d, %s: %d\n%s\n", number, method, status,
                    talvern::StatusHelp(method, status).c_str());
    }
    return status == sOk;
}

/// From tvnInit to tvnExit on a thread of its own: an object belongs to the thread that made it.
void PlayIn(int number, const std::wstring& macro, bool& played)
{
    try {
        const talvern::Apartment apartment(COINIT_MULTITHREADED);
        talvern::Client client;
        if (!Succeeded(number, "tvnInit", client.Init(talvern::Argument(), true, 60))) {
            return;
        }
        talvern::ExitScope exit(client);
        const bool done = Succeeded(number, "tvnPlay", client.Play(macro, 60));
        std::printf("browser %d: %zu characters extracted\n", number, client.LastExtract().size());
        played = Succeeded(number, "tvnExit", exit.Exit()) && done;
    } catch (const std::exception& exception) {
        std::printf("browser %d: %s\n", number, exception.what());
    }
}

}  // namespace

int main()
{
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    const std::wstring first = count > 1 ? arguments[1] : L"Hotel Search";
    const std::wstring second = count > 2 ? arguments[2] : L"Hotel Search";
    LocalFree(arguments);

    bool firstPlayed = false;
    bool secondPlayed = false;
    std::thread beside([&] { PlayIn(2, second, secondPlayed); });
    PlayIn(1, first, firstPlayed);
    beside.join();
    return firstPlayed && secondPlayed ? 0 : 1;
}
