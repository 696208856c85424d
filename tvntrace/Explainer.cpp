#include "tvntrace/Explainer.h"

#include <array>
#include <cstdlib>
#include <string_view>

#include "tvntrace/LinePattern.h"
#include "tvntrace/TraceError.h"

namespace tvn::trace
{
namespace
{

/// A line and the step it stands for. In the step, `%` and a digit is what that star of the pattern
/// stands for: as it is, or after the letter `s` a status in decimal, after `x` a status and after
/// `e` a code of the system in hexadecimal, told in words. A line without a step is not shown.
struct Rule
{
    const char* pattern;
    const char* step;
};

constexpr std::array kRules = {
    Rule{"in DLLMain", "talvern.dll is loaded or unloaded"},

    // Starting a browser.
    Rule{"[C] Allocated id's: pipeUuid = *, creatorUuid = *", "tvnInit starts a browser"},
    Rule{"[C] Created callback server *", ""},
    Rule{"[C] * = createProcess(user:(null), domain:(null), password:(null), appPath:*, cmdLine:*)",
         "starting %2 with '%3': %x1"},
    Rule{"[C] * = createProcess(user:*, domain:*, password:*, appPath:*, cmdLine:*)",
         "starting %5 with '%6' as user %2, domain %3, password %4: %x1"},
    Rule{"CreateProcess failed 0x*", "the program cannot be started: %e1"},
    Rule{"CreateProcessWithLogonW failed 0x*",
         "the program cannot be started under the other account: %e1"},
    Rule{"CreateAndAttach, [1]", "tvnInit gives up, because no browser was started"},
    Rule{"[C] Wait new instance to callback", "waiting for the browser to call back"},
    Rule{"SimplePipeServer, Timeout *", "nothing was heard for %1 ms"},
    Rule{"[C] Wait new instance to callback - pipe is NULL (remains = *)",
         "the browser has not called back (%1 ms are left)"},
    Rule{"[C] Wait new instance to callback failed. *",
         "the browser has called back, but its message cannot be read: %1"},
    Rule{"[C] The new instance HWND = *", "the browser has called back; its window is %1"},
    Rule{"tvnInit, failed with *", "tvnInit found no free browser and started one: %x1"},

    // Attaching to one.
    Rule{"[C] CApp::AttachIfFree(pipeHwnd = *, creatorUuid = (null))",
         "asking the browser with window %1 whether it is free"},
    Rule{"[C] CApp::AttachIfFree(pipeHwnd = *, creatorUuid = *)",
         "attaching to the browser with window %1, which was started for this"},
    Rule{"[C] CApp::AttachIfFree - sOk", "attached"},
    Rule{"[C] CApp::AttachIfFree - sFail", "not attached: it refuses, has gone or does not answer"},
    Rule{"Cann't open process, pid = *",
         "process %1 is left out: this account may not wait for it and end it"},

    // Playing and other commands.
    Rule{"[C] CApp::tvnPlay(command = *)", "tvnPlay: %1"},
    Rule{"[C] * = CApp::tvnPlay", "the browser answers tvnPlay: %s1"},
    Rule{"[CommandClient::Execute] sTimeout (cmd = *)", "no answer in time to: %1"},
    Rule{"[CommandClient::Execute] sFail (cmd = *)",
         "the pipe broke, or the answer made no sense, to: %1"},
    Rule{"hPipe == INVALID_HANDLE_VALUE (0x*)", "the browser cannot be reached: %e1"},

    // Single pipe operations, of which only failures are worth a line.
    Rule{"[RemotePipeClient::OpenPipe] CreateFile failed with code 0x*",
         "the pipe cannot be opened: %e1"},
    Rule{"[RemotePipeClient::OpenPipe] SetNamedPipeHandleState failed with code 0x*",
         "the pipe cannot be set to messages: %e1"},
    Rule{"[RemotePipeClient::OpenPipe] *", ""},
    Rule{"[BaseProtocol::ReadPipe] ReadFile (GetLastError() = 0x*)",
         "the pipe cannot be read: %e1"},
    Rule{"[BaseProtocol::ReadPipe] fSuccess = 0, *", "a message could not be read"},
    Rule{"[BaseProtocol::*", ""},
    Rule{"CreateNamedPipe, * failed 0x*", "the pipe %1 cannot be served: %e2"},
    Rule{"CreateNamedPipe, *", ""},
    Rule{"[PipeServerBase::ConnectPipe ConnectNamedPipe] FAILED (*)",
         "nobody can connect to the pipe: %e1"},

    // Looking for Firefox.
    Rule{"mzFX key access failed", "there is no Firefox in the 32-bit view of the registry"},
    Rule{"mzFIREFOXstrSubKey *", "looking for a Firefox in %1"},
    Rule{"mzFIREFOX 5", "that one names its program"},
    Rule{"mzFIREFOX *", ""},

    // Failures that were held back.
    Rule{"[ErrorReportManager] tid = *, msg = *", "a failure in thread %1: %2"},
    Rule{"[ErrorReportManager] error handled at *, *", "it was handled in %2, line %1"},
};

struct StatusWords
{
    int status;
    const char* words;
};

constexpr std::array kStatuses = {
    StatusWords{1, "sOk, done"},
    StatusWords{2, "the macro was played"},
    StatusWords{-1, "sFail, failed"},
    StatusWords{-2, "sNotCompleted, not completed"},
    StatusWords{-3, "sTimeout, the time ran out"},
    StatusWords{-4, "sNotStarted, no browser is attached"},
    StatusWords{-6, "sRunnerNotReachable, the runner service does not answer"},
    StatusWords{-7, "sInstancesCountLimitReached, no more browsers are allowed"},
    StatusWords{-20, "sInternal, attached already"},
    StatusWords{-100, "sMacroError, the macro failed"},
};

std::string DescribeStatus(int status)
{
    std::string number = std::to_string(status);
    for (const StatusWords& known : kStatuses) {
        if (known.status == status) {
            return number + " (" + known.words + ")";
        }
    }
    return number;
}

std::string Decode(char kind, std::string_view value)
{
    std::string text(value);
    switch (kind) {
        case 's':
            return DescribeStatus(static_cast<int>(std::strtol(text.c_str(), nullptr, 10)));
        case 'x':
            return DescribeStatus(static_cast<int>(std::strtoul(text.c_str(), nullptr, 16)));
        case 'e':
            return DescribeSystemError(std::strtoul(text.c_str(), nullptr, 16));
        default:
            return text;
    }
}

std::string Fill(std::string_view step, const std::vector<std::string_view>& captures)
{
    std::string text;
    for (std::size_t index = 0; index < step.size(); ++index) {
        if (step[index] != '%') {
            text += step[index];
            continue;
        }
        const char kind = step[++index];
        const char digit = kind >= '1' && kind <= '9' ? kind : step[++index];
        text += Decode(kind, captures.at(static_cast<std::size_t>(digit - '1')));
    }
    return text;
}

/// The step of a line; empty for a line that is not shown.
std::string StepOf(const std::string& text)
{
    std::vector<std::string_view> captures;
    for (const Rule& rule : kRules) {
        if (MatchLine(rule.pattern, text, captures)) {
            return Fill(rule.step, captures);
        }
    }
    return text;
}

void AddRepetitions(std::vector<TraceLine>& steps, TraceLine line, int repeated)
{
    if (repeated == 0) {
        return;
    }
    line.text =
        "(the same, " + std::to_string(repeated) + (repeated == 1 ? " time" : " times") + " more)";
    steps.push_back(std::move(line));
}

}  // namespace

std::vector<TraceLine> Explainer::Explain(const TraceLine& line)
{
    TraceLine step = line;
    step.text = StepOf(line.text);
    if (step.text.empty()) {
        return {};
    }
    LastStep& last = m_last[line.pid];
    if (last.line.text == step.text) {
        last.line.time = step.time;
        ++last.repeated;
        return {};
    }
    std::vector<TraceLine> steps;
    AddRepetitions(steps, last.line, last.repeated);
    last = {step, 0};
    steps.push_back(step);
    return steps;
}

std::vector<TraceLine> Explainer::Finish()
{
    std::vector<TraceLine> steps;
    for (const auto& [pid, last] : m_last) {
        AddRepetitions(steps, last.line, last.repeated);
    }
    return steps;
}

}  // namespace tvn::trace
