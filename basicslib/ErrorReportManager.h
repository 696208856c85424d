#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "basicslib/ComString.h"
#include "basicslib/CriticalSection.h"
#include "basicslib/Exceptions.h"

namespace tvn
{

/// An exception that was caught where none may escape.
struct ErrorReport
{
    ComString msg;  ///< The exception's description; empty for a foreign exception.
    DWORD tid = GetCurrentThreadId();  ///< The thread that made the report.
    std::string file;                  ///< Source file of the place that caught it.
    unsigned int line = 0;             ///< Source line of that place.
};

/// Process-wide reporting of exceptions that destructors have caught. Reports go to the debug
/// output at once, on the reporting thread. Callable from any thread and from a destructor: when
/// there is no memory for a report, a fixed line is logged instead.
class ErrorReportManager
{
  public:
    /// Writes one report; reports of different threads do not interleave. An empty pointer is
    /// reported as such.
    static void ReportError(const boost::shared_ptr<ErrorReport>& report) noexcept;

    /// Makes a report from a caught exception and writes it. `line` and `file` are the place that
    /// caught it.
    static void ReportError(const BaseException& exception, unsigned int line,
                            const char* file) noexcept;

    /// The same for an exception that does not derive from BaseException.
    static void ReportError(unsigned int line, const char* file) noexcept;

    /// Writes one report without taking the lock that keeps the lines of a report together.
    static void ReportToDbgView(const boost::shared_ptr<ErrorReport>& report) noexcept;

  private:
    static CriticalSection s_lock;
};

}  // namespace tvn
