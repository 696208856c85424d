#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>
#include <vector>

#include "basicslib/Handle.h"
#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// A program that runs under this one as its debugger: it is stopped while a line is taken, so its
/// lines stand where they belong between what it prints itself. It uses this program's console and
/// standard handles. One at a time, on one thread.
class TracedCommand
{
  public:
    /// Starts `command`: the program, looked for as the system does, and its arguments, in UTF-8.
    /// With `children`, the programs that it starts are traced too. Throws TraceError when it
    /// cannot be started.
    TracedCommand(const std::vector<std::string>& command, bool children);

    /// Gives each line to `take` until the program ends, and returns its exit code. Its children go
    /// on untraced.
    int Follow(const std::function<void(const TraceLine&)>& take) const;

  private:
    boost::shared_ptr<Handle> m_process;
    DWORD m_pid = 0;
};

/// A command line that the platform's own rules take apart into `arguments` again.
std::wstring QuoteCommandLine(const std::vector<std::string>& arguments);

}  // namespace tvn::trace
