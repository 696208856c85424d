#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "pipeutils/Deserializer.h"
#include "pipeutils/MessageBuffer.h"
#include "pipeutils/Serializer.h"

namespace tvn
{

/// Writes and reads whole messages on a pipe in message mode that was opened for overlapped I/O.
/// One protocol message is one pipe message; its layout is the one of `Serializer`. The protocols
/// of the command, callback and runner pipes derive from this class.
///
/// Used by one thread at a time. Every wait dispatches that thread's window messages and comes back
/// within its time-out, in milliseconds (INFINITE: no limit). Failures are thrown as exceptions of
/// the PipeException family; the pipe stays open and nothing of a failed operation stays pending.
class BaseProtocol
{
  public:
    /// Both handles are borrowed and must outlive this object. `hInterrupt` may be NULL; when it is
    /// signalled, a waiting operation ends.
    BaseProtocol(HANDLE hPipe, HANDLE hInterrupt) noexcept;
    virtual ~BaseProtocol() = default;
    BaseProtocol(const BaseProtocol&) = delete;
    BaseProtocol& operator=(const BaseProtocol&) = delete;

    /// Writes one message. Throws WritePipeError when the write fails, is short, is interrupted, or
    /// is not taken in time (with error WAIT_TIMEOUT); it is then cancelled.
    void WritePipe(const void* buffer, DWORD count, DWORD timeout);

    /// Lays out `message` and writes it.
    void WriteMessage(Serializer& message, DWORD timeout);

    /// What one read of a message gave.
    struct ReadResult
    {
        DWORD bytes = 0;        ///< bytes put into the buffer
        bool moreData = false;  ///< the message goes on behind them
    };

    /// Reads at most `count` bytes of the current message; with `count` 0 nothing. A shorter
    /// message is not an error. Throws ReadPipeTimeout, PipeInterrupted or ReadPipeError.
    ReadResult ReadPipe(void* buffer, DWORD count, DWORD timeout);

    /// Reads one whole message: its length field into `size`, the fields behind it into `buffer`,
    /// which is no larger than the message that is really in the pipe. A message whose length field
    /// is not its length is taken out of the pipe and thrown as ReadPipeError with
    /// ERROR_INVALID_DATA. Throws as ReadPipe does, and an out-of-memory exception.
    void ReadMessage(DWORD& size, MessageBuffer& buffer, DWORD timeout);

    /// The same, with the fields wrapped for reading.
    void ReadMessage(boost::shared_ptr<Deserializer>& message, DWORD timeout);

  private:
    bool IsInterrupted() const;

    HANDLE m_hPipe;
    HANDLE m_hInterrupt;
};

}  // namespace tvn
