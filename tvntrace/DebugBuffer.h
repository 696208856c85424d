#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <optional>

#include "basicslib/Handle.h"
#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// The reading side of the debug-output buffer that all processes of a session share. There is one
/// reader at a time; while there is none, what is written is lost. For one thread.
class DebugBuffer
{
  public:
    /// Becomes the reader. Throws std::runtime_error when another viewer is, or when the system
    /// refuses.
    DebugBuffer();

    /// The next line, awaited without limit. Once `end` is signalled, only what is being written by
    /// then: nothing when no line comes within 100 ms, or 500 ms after the first such call.
    std::optional<TraceLine> Read(HANDLE end);

  private:
    boost::shared_ptr<Handle> m_free;     ///< set by this side: the next line may be written
    boost::shared_ptr<Handle> m_written;  ///< set by the writer: a line is there
    boost::shared_ptr<Handle> m_mapping;
    boost::shared_ptr<const void> m_view;
    ULONGLONG m_last = 0;  ///< when reading ends, in milliseconds; 0 before `end` was seen
};

}  // namespace tvn::trace
