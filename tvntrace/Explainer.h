#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// Says in words what the diagnostic lines tell: one line for each step. Lines about single pipe
/// messages say nothing to a person and go; a step that repeats is counted; codes are told by name.
/// Lines that it does not know stay as they are.
class Explainer
{
  public:
    /// What is to be printed for `line`: nothing, its step, or before that step how often the one
    /// before it in the same process was repeated.
    std::vector<TraceLine> Explain(const TraceLine& line);

    /// The repetitions that are still to be told at the end.
    std::vector<TraceLine> Finish();

  private:
    struct LastStep
    {
        TraceLine line;
        int repeated = 0;
    };

    std::map<DWORD, LastStep> m_last;  ///< of each process
};

}  // namespace tvn::trace
