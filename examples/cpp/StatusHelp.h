#pragma once

#include <string>
#include <string_view>

#include "Interface.h"

namespace talvern
{

/// What a Status other than 1 means, and what to do: two lines for a person to read. `method` is
/// the name of the method that answered it.
inline std::string StatusHelp(std::string_view method, int status)
{
    const auto help = [](std::string_view cause, std::string_view remedy) {
        return std::string("cause: ").append(cause).append("\nremedy: ").append(remedy);
    };
    const bool isInit = method == "tvnInit";
    switch (status) {
        case sFail:
            return isInit
                       ? help(
                             "The browser was not found, could not be started, or refused this "
                             "client.",
                             "Install Edge, Chrome or Chromium. To see why, run: tvntrace "
                             "--explain COMMAND")
                       : help(
                             "The browser has gone, its answer cannot be read, or another command "
                             "runs.",
                             "Call tvnExit and tvnInit, then try again.");
        case sNotCompleted:
            return help("The browser did not complete the macro.", "tvnGetLastError may tell why.");
        case sTimeout:
            return isInit ? help("The browser was started but did not report in time.",
                                 "Give tvnInit more time. Internet Explorer and Firefox need the "
                                 "add-on, too.")
                          : help("The browser did not answer in time. A macro goes on running.",
                                 "Give the call more time, or close the browser with tvnExit.");
        case sNotStarted:
            return help("No browser is attached.", "Call tvnInit first, and look at its Status.");
        case sRunnerNotReachable:
            return help("The runner service did not answer.",
                        "Start the service, or leave -runner out.");
        case sInstancesCountLimitReached:
            return help("As many browsers run as may run.",
                        "Wait until one of them has ended, then try again.");
        case sInternal:
            return help("The object has a browser already, or is about to get one.",
                        "Call tvnExit first, or take another object.");
        case sMacroError:
            return help("The macro stopped with an error.",
                        "tvnGetLastError tells which; mend the macro or its variables.");
        default:
            return help("The browser or the runner service answered with a number of its own.",
                        "Its documents tell what it means.");
    }
}

}  // namespace talvern
