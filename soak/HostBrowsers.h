#pragma once

#include <string>
#include <vector>

namespace soak
{

/// The real browsers that the own browser drives, as the machine below Wine shows them: programs of
/// that machine, which have no handle here.
class HostBrowsers
{
  public:
    /// Whether there is such a machine.
    static bool AreVisible();

    /// The ids of the processes that run on a profile of the own browser's, those of the browsers
    /// themselves first.
    static std::vector<int> Processes();

    /// Sends them all a signal, as kill names it: "STOP", "CONT", "KILL".
    static void Signal(const char* name);

    /// The profile folders among the temporary files.
    static std::vector<std::string> ProfileFolders();
};

}  // namespace soak
