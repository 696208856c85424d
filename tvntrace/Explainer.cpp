#include "tvntrace/Explainer.h"

#include <array>
#include <boost/system/error_code.hpp>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

namespace tvn::trace
{
namespace
{

/// The lines, the step that each stands for, and what to do; the first that fits counts. A star
/// stands for any text, as short as the rest allows. In a step, `%` and a digit is what that star
/// stands for: as it is or, with a letter before the digit, a status in decimal (s) or hexadecimal
/// (x), or a code of the system in hexadecimal (e). A line without a step is not shown.
constexpr std::string_view kSteps = R"(
in DLLMain |talvern.dll is loaded or unloaded
[C] Allocated id's: pipeUuid = *, creatorUuid = * |tvnInit starts a browser
[C] Created callback server * |
[C] * = createProcess(user:(null), domain:(null), password:(null), appPath:*, cmdLine:*) |starting %2 with '%3': %x1
[C] * = createProcess(user:*, domain:*, password:*, appPath:*, cmdLine:*) |starting %5 with '%6' as user %2, domain %3, password %4: %x1
CreateProcess failed 0x* |the program cannot be started: %e1 |2, 3: name the right path in the registry; 5: look at the rights; 2E4: it wants an administrator
CreateProcessWithLogonW failed 0x* |the program cannot be started under the other account: %e1 |52E: mend account or password; 522, 569: the account may not log on; 57: a command line of over 1,024 characters
CreateAndAttach, [1] |tvnInit gives up, because no browser was started |see the line before with createProcess
[C] Wait new instance to callback |waiting for the browser to call back
SimplePipeServer, Timeout * |nothing was heard for %1 ms |give tvnInit more time
[C] Wait new instance to callback - pipe is NULL (remains = *) |the browser has not called back (%1 ms are left) |give tvnInit more time; for Internet Explorer and Firefox, install or switch on the add-on
[C] Wait new instance to callback failed. * |the browser has called back, but its message cannot be read: %1 |install the add-on again
[C] The new instance HWND = * |the browser has called back; its window is %1
tvnInit, failed with * |tvnInit found no free browser and started one: %x1
[C] CApp::AttachIfFree(pipeHwnd = *, creatorUuid = (null)) |asking the browser with window %1 whether it is free
[C] CApp::AttachIfFree(pipeHwnd = *, creatorUuid = *) |attaching to the browser with window %1, which was started for this
[C] CApp::AttachIfFree - sOk |attached
[C] CApp::AttachIfFree - sFail |not attached: the browser refuses, has gone or does not answer |look for an error line of the browser; without one, give tvnInit more time
Cann't open process, pid = * |process %1 is left out: this account may not wait for it and end it |run the script as the account that the browser runs under
[C] CApp::tvnPlay(command = *) |tvnPlay: %1
[C] * = CApp::tvnPlay |the browser answers tvnPlay: %s1
[CommandClient::Execute] sTimeout (cmd = *) |no answer in time to: %1 |give the method more time
[CommandClient::Execute] sFail (cmd = *) |the pipe broke, or the answer made no sense, to: %1 |call tvnExit, then tvnInit
hPipe == INVALID_HANDLE_VALUE (0x*) |the browser cannot be reached: %e1
[RemotePipeClient::OpenPipe] CreateFile failed with code 0x* |the pipe cannot be opened: %e1
[RemotePipeClient::OpenPipe] SetNamedPipeHandleState failed with code 0x* |the pipe does not carry messages: %e1 |the other side made it with the wrong type
[RemotePipeClient::OpenPipe] * |
[BaseProtocol::ReadPipe] ReadFile (GetLastError() = 0x*) |the pipe cannot be read: %e1 |call tvnExit, then tvnInit
[BaseProtocol::ReadPipe] fSuccess = 0, * |a message could not be read
[BaseProtocol::* |
CreateNamedPipe, * failed 0x* |the pipe %1 cannot be served: %e2
CreateNamedPipe, * |
[PipeServerBase::ConnectPipe ConnectNamedPipe] FAILED (*) |nobody can connect to the pipe: %e1
* is served already |another program serves the pipe %1 |a second runner service: end one of them
mzFX key access failed |there is no Firefox in the 32-bit view of the registry |tell the registry where it is
mzFIREFOXstrSubKey * |looking for a Firefox in %1
mzFIREFOX 5 |that one names its program
mzFIREFOX * |
The command line cannot be read: * |the own browser does not know an option of tvnInit, and goes on without: %1 |mend the options
The instance ends. * |the own browser ends: %1 |install Edge, Chrome or Chromium, or name one to it
The instance ends because its creator has not attached |the own browser ends, because its script has given up |give tvnInit more time
The profile folder * cannot be removed |the own browser leaves its profile behind in %1 |remove the folder by hand
[ErrorReportManager] tid = *, msg = * |a failure in thread %1: %2
[ErrorReportManager] error handled at *, * |it was handled in %2, line %1
status 1 |1 (sOk: done)
status 2 |2 (the macro was played)
status -1 |-1 (sFail: failed)
status -2 |-2 (sNotCompleted: not completed; tvnGetLastError may tell why)
status -3 |-3 (sTimeout: the time ran out; give it more)
status -4 |-4 (sNotStarted: no browser is attached; call tvnInit first)
status -6 |-6 (sRunnerNotReachable: the runner service does not answer; start it)
status -7 |-7 (sInstancesCountLimitReached: no more browsers are allowed; wait)
status -20 |-20 (sInternal: attached already; call tvnExit first)
status -100 |-100 (sMacroError: the macro failed; tvnGetLastError tells why)
)";

std::optional<std::string> StepOf(std::string_view line);

/// What a star stands for, as the letter `kind` asks for it.
std::string Decode(char kind, const std::string& value)
{
    if (kind != 'e' && kind != 's' && kind != 'x') {
        return value;
    }
    const unsigned long code = std::strtoul(value.c_str(), nullptr, kind == 's' ? 10 : 16);
    const auto number = static_cast<int>(code);
    if (kind != 'e') {
        return StepOf("status " + std::to_string(number)).value_or(std::to_string(number));
    }
    std::array<char, 16> hexadecimal = {};
    std::snprintf(hexadecimal.data(), hexadecimal.size(), "0x%lX, ", code);
    return hexadecimal.data() + boost::system::system_category().message(number);
}

/// Whether `pattern` fits the whole `text`; `stars` is then what its stars stand for.
bool Fits(std::string_view pattern, std::string_view text, std::vector<std::string>& stars)
{
    stars.clear();
    std::size_t star = pattern.find('*');
    if (star == std::string_view::npos || text.substr(0, star) != pattern.substr(0, star)) {
        return text == pattern;
    }
    text.remove_prefix(star);
    while (star != std::string_view::npos) {
        pattern.remove_prefix(star + 1);
        star = pattern.find('*');
        const std::string_view plain = pattern.substr(0, star);
        const std::size_t at =
            star == std::string_view::npos ? text.rfind(plain) : text.find(plain);
        if (at == std::string_view::npos) {
            return false;
        }
        stars.emplace_back(text.substr(0, at));
        text.remove_prefix(at + plain.size());
    }
    return text.empty();
}

std::string Fill(std::string_view step, const std::vector<std::string>& stars)
{
    std::string text;
    for (std::size_t index = 0; index < step.size(); ++index) {
        if (step[index] != '%') {
            text += step[index];
            continue;
        }
        const char kind = step[++index];
        const char digit = kind >= '1' && kind <= '9' ? kind : step[++index];
        text += Decode(kind, stars.at(static_cast<std::size_t>(digit - '1')));
    }
    return text;
}

/// Takes what is before `separator` off `text`, and the separator.
std::string_view TakeField(std::string_view& text, std::string_view separator)
{
    const std::size_t at = text.find(separator);
    const std::string_view field = text.substr(0, at);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at + separator.size());
    return field;
}

std::optional<std::string> StepOf(std::string_view line)
{
    std::vector<std::string> stars;
    for (std::string_view rules = kSteps; !rules.empty();) {
        std::string_view rule = TakeField(rules, "\n");
        if (Fits(TakeField(rule, " |"), line, stars)) {
            const std::string step = Fill(TakeField(rule, " |"), stars);
            return rule.empty() ? step : step + " -> " + std::string(rule);
        }
    }
    return {};
}

}  // namespace

std::string Explain(const TraceLine& line)
{
    std::optional<std::string> step = StepOf(line.text);
    if (!step && line.cut) {
        step = StepOf(line.text + "...)");
    }
    return step.value_or(line.text);
}

}  // namespace tvn::trace
