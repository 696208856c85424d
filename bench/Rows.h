#pragma once

#include <string>
#include <vector>

#include "bench/Measure.h"

namespace bench
{

/// What the caller of the program has set.
struct Settings
{
    double seconds = 1;        ///< for each comparison, about
    unsigned short port = 0;   ///< of a WebDriver server on this machine, where a row needs one
    std::string browserFlags;  ///< more arguments for the browser that the server starts
    std::string page;          ///< address of the page that macros are played on
};

using Comparisons = std::vector<Comparison>;

/// The rows of the report. Each measures what its comment says and throws when something fails. The
/// calling thread is in a single-threaded apartment, as that of a script is.

/// A play of an empty macro, against one write and one read.
Comparisons MeasurePlay(const Settings& settings);

/// The same, against the smallest script command of a WebDriver server.
Comparisons MeasureDriver(const Settings& settings);

/// tvnDisplay by DISPID, against the virtual table.
Comparisons MeasureDispatch(const Settings& settings);

/// Plays with long replies, against the same bytes through a bare pipe.
Comparisons MeasureReply(const Settings& settings);

/// The memory that such a play takes, and that the next one gives back.
Comparisons MeasureMemory(const Settings& settings);

/// The search for instances among other windows, against a bare enumeration.
Comparisons MeasureSearch(const Settings& settings);

/// tvnInit to attached, against starting the same program and one connect.
Comparisons MeasureStart(const Settings& settings);

/// Plays per second of objects on threads of their own, against as many bare pipes.
Comparisons MeasureThreads(const Settings& settings);

/// Macros in a real browser, against the same steps through a WebDriver server.
Comparisons MeasureBrowser(const Settings& settings);

}  // namespace bench
