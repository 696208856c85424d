#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <optional>

#include "basicslib/Handle.h"
#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// The reading side of the debug-output buffer that all processes of a session share. There is one
/// reader at a time; while there is none, what is written is lost.
class DebugBuffer
{
  public:
    /// Becomes the reader. Throws TraceError when another viewer is, or when the system refuses.
    DebugBuffer();

    /// The next line, awaited without limit; none when the event `stop` is set before it comes.
    std::optional<TraceLine> Read(HANDLE stop) const;

    /// The line that was written before the end was asked for, if there is one.
    std::optional<TraceLine> ReadLast() const;

  private:
    TraceLine Take() const;

    boost::shared_ptr<Handle> m_free;     ///< set by this side: the next line may be written
    boost::shared_ptr<Handle> m_written;  ///< set by the writer: a line is there
    boost::shared_ptr<Handle> m_mapping;
    boost::shared_ptr<const void> m_view;
};

}  // namespace tvn::trace
