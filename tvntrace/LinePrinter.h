#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "basicslib/Handle.h"
#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// Prints lines with their time, process and level: in colours on a console, as plain UTF-8 into a
/// file or another program. What fails throws std::runtime_error.
class LinePrinter
{
  public:
    /// Prints to the file `path`, which is made anew; to the standard output when it is empty.
    explicit LinePrinter(const std::wstring& path);

    void Print(const TraceLine& line) const;

  private:
    boost::shared_ptr<Handle> m_file;
    HANDLE m_output;  ///< the file's, or the standard output, which is nobody's to close
    bool m_console = false;
    bool m_colours = false;
};

}  // namespace tvn::trace
