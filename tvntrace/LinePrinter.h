#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "basicslib/Handle.h"
#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// Prints lines with their time, process and level: in colours on a console, as plain UTF-8 into a
/// file or another program.
class LinePrinter
{
  public:
    /// Prints to the file `path`, which is made anew, or to the standard output when the path is
    /// empty. Throws TraceError when the file cannot be made.
    explicit LinePrinter(const std::string& path);

    /// Throws TraceError when the line cannot be written.
    void Print(const TraceLine& line) const;

  private:
    boost::shared_ptr<Handle> m_file;
    HANDLE m_output;  ///< the file's, or the standard output, which is nobody's to close
    bool m_console = false;
    bool m_colours = false;
};

}  // namespace tvn::trace
