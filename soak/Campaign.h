#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "soak/Journal.h"

namespace soak
{

/// What the command line asks of a campaign.
struct Settings
{
    std::uint64_t seed = 1;
    std::optional<std::uint64_t> onlyCase;  ///< repeats this one case
    std::optional<std::uint64_t> cases;     ///< instead of the campaign's own number
    double seconds = 0;                     ///< goes on until they are over; 0: until all is done
    bool shortForm = false;                 ///< a few seconds in all
    bool full = false;                      ///< what takes very long is not cut down
};

/// One way to try to break the system. Each runs in a process of its own and reports what it found
/// to the journal; it throws only what it cannot go on after. `unit` names what it counts.
struct Campaign
{
    const char* name;
    const char* unit;
    const char* purpose;
    void (*run)(const Settings& settings, Journal& journal);
};

void RunDecoders(const Settings& settings, Journal& journal);
void RunResources(const Settings& settings, Journal& journal);
void RunReentry(const Settings& settings, Journal& journal);
void RunThreads(const Settings& settings, Journal& journal);
void RunBig(const Settings& settings, Journal& journal);
void RunUnload(const Settings& settings, Journal& journal);
void RunBrowser(const Settings& settings, Journal& journal);

}  // namespace soak
