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

    /// Takes note of the profile folders that are there now, among this user's temporary files:
    /// what runs on others is not this program's affair.
    static void Note();

    /// The ids of the processes that run on a profile that was noted, now or before.
    static std::vector<int> Processes();

    /// Sends them all a signal, as kill names it: "STOP", "CONT", "KILL".
    static void Signal(const char* name);

    /// The profile folders among this user's temporary files.
    static std::vector<std::string> ProfileFolders();
};

}  // namespace soak
