// Tries to break the system, one campaign at a time. tools/soak runs them all.

#include <windows.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <exception>

#include "soak/Campaign.h"
#include "soak/ChildProgram.h"
#include "soak/ReplacedImports.h"

namespace soak
{
namespace
{

constexpr Campaign kCampaigns[] = {
    {"decoders", "messages", "broken messages through the decoders, in memory", &RunDecoders},
    {"resources", "failures", "every allocation and every system call fails once", &RunResources},
    {"reentry", "cases", "window messages call every method during every wait", &RunReentry},
    {"threads", "cycles", "many objects at once, and calls from another apartment", &RunThreads},
    {"big", "plays", "very long macros and replies", &RunBig},
    {"unload", "rounds", "the DLL is loaded and unloaded; processes end while it is used",
     &RunUnload},
    {"browser", "rounds", "the own browser with the real one behind it", &RunBrowser},
};

LONG WINAPI OnCrash(EXCEPTION_POINTERS* crash)
{
    Journal::Crash("the program crashed", crash->ExceptionRecord->ExceptionCode,
                   crash->ExceptionRecord->ExceptionAddress);
}

[[noreturn]] void OnTerminate()
{
    Journal::Crash("an exception came out of what lets none out", 0, nullptr);
}

int Run(const Campaign& campaign, const Settings& settings, const std::string& report)
{
    Journal journal(campaign.name, settings.seed);
    try {
        campaign.run(settings, journal);
    } catch (const std::exception& exception) {
        journal.Fault(std::string("the campaign cannot go on: ") + exception.what());
    }
    return journal.Finish(campaign.unit, report);
}

/// What the command line asks for; the program's exit code.
int Obey(int argc, char** argv)
{
    CLI::App app("Tries to break the scripting interface.");
    Settings settings;
    std::string report;
    std::uint64_t onlyCase = 0;
    std::uint64_t cases = 0;
    app.require_subcommand(1);
    for (const Campaign& campaign : kCampaigns) {
        CLI::App* const command = app.add_subcommand(campaign.name, campaign.purpose);
        command->add_option("--seed", settings.seed, "where the numbers begin");
        command->add_option("--case", onlyCase, "only this case");
        command->add_option("--cases", cases, "how many cases");
        command->add_option("--seconds", settings.seconds, "go on for this long");
        command->add_option("--report", report, "file for the tables");
        command->add_flag("--short", settings.shortForm, "a few seconds in all");
        command->add_flag("--full", settings.full, "cut nothing down");
    }
    std::string part;
    CLI::App* const child = app.add_subcommand("part", "plays a part in another one's campaign");
    child->add_option("name", part)->required();
    CLI11_PARSE(app, argc, argv);
    if (*child) {
        return PlayPart(part);
    }
    for (const Campaign& campaign : kCampaigns) {
        const CLI::App* const command = app.get_subcommand(campaign.name);
        if (*command) {
            if (command->count("--case") != 0) {
                settings.onlyCase = onlyCase;
            }
            if (command->count("--cases") != 0) {
                settings.cases = cases;
            }
            return Run(campaign, settings, report);
        }
    }
    return 2;
}

}  // namespace
}  // namespace soak

int main(int argc, char** argv)
{
    SetUnhandledExceptionFilter(&soak::OnCrash);
    std::set_terminate(&soak::OnTerminate);
    soak::ReplacedImports::Install();
    try {
        return soak::Obey(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 2;
    }
}
