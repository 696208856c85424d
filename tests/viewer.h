// The trace viewer, which shows what all processes write to the debug output.
#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "basicslib/Handle.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

/// The command line of the viewer with `arguments`.
std::string ViewerLine(const std::string& arguments);

/// A text without the times and process ids of its lines.
std::string WithoutTimesAndProcesses(const std::string& lines);

/// A viewer that reads the debug output until it is asked to end as by Ctrl+C.
class Viewer
{
  public:
    /// Waits until it reads. Its lines go to `path`, a file of the build folder where none is
    /// given.
    explicit Viewer(const std::string& arguments = "", const std::string& path = "");

    void AskToEnd() const;

    /// Waits for its end.
    DWORD ExitCode() const { return ExitCodeOf(m_process->Get(), 5000); }

    /// What it has printed until now, and all when it has been asked to end.
    std::string Lines() const { return Printed(m_path); }
    std::string End() const;

  private:
    std::string m_path;
    boost::shared_ptr<Handle> m_process;
};

}  // namespace tvn::tests
