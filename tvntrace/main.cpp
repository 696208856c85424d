// Prints diagnostic lines: of all processes, out of the buffer that they share, or of a command.

#include <windows.h>

#include <cstdio>

#include "tvntrace/DebugBuffer.h"
#include "tvntrace/Explainer.h"
#include "tvntrace/LinePrinter.h"
#include "tvntrace/Options.h"
#include "tvntrace/TraceError.h"
#include "tvntrace/TracedCommand.h"

namespace tvn::trace
{
namespace
{

/// Set when the person asks for the end. Open until the process ends, because the system calls the
/// handler on a thread of its own.
HANDLE g_stop = nullptr;

BOOL WINAPI StopOnRequest(DWORD /*event*/)
{
    SetEvent(g_stop);
    return TRUE;
}

/// Prints what is asked for, in the way that is asked for.
class Output
{
  public:
    explicit Output(const Options& options) : m_options(options), m_printer(options.out) {}

    void Take(const TraceLine& line)
    {
        if (!m_options.Shows(line)) {
            return;
        }
        if (!m_options.explain) {
            m_printer.Print(line);
            return;
        }
        for (const TraceLine& step : m_explainer.Explain(line)) {
            m_printer.Print(step);
        }
    }

    void Finish()
    {
        for (const TraceLine& step : m_explainer.Finish()) {
            m_printer.Print(step);
        }
    }

  private:
    const Options& m_options;
    LinePrinter m_printer;
    Explainer m_explainer;
};

int Run(const Options& options)
{
    // A command shares the console and gets the request too; this program stays until it has ended.
    g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&StopOnRequest, TRUE);

    Output output(options);
    int exitCode = 0;
    if (options.command.empty()) {
        const DebugBuffer buffer;
        while (const auto line = buffer.Read(g_stop)) {
            output.Take(*line);
        }
        if (const auto line = buffer.ReadLast()) {
            output.Take(*line);
        }
    } else {
        exitCode =
            TracedCommand(options.command, options.follow).Follow([&](const TraceLine& line) {
                output.Take(line);
            });
    }
    output.Finish();
    return exitCode;
}

}  // namespace
}  // namespace tvn::trace

int main()
{
    try {
        tvn::trace::Options options;
        if (const auto exitCode = tvn::trace::ReadOptions(options)) {
            return *exitCode;
        }
        return tvn::trace::Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tvntrace: %s\n", error.what());
        return 1;
    }
}
