#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/TimeBudget.h"
#include "pipeutils/Deserializer.h"
#include "pipeutils/KeptBuffers.h"
#include "pipeutils/MessageBuffer.h"
#include "pipeutils/PipeOperation.h"
#include "pipeutils/Serializer.h"

namespace tvn
{

/// Writes and reads whole messages on a pipe in message mode that was opened for overlapped I/O.
/// One protocol message is one pipe message; `Serializer` describes its layout. The protocols of
/// the command, callback and runner pipes derive from this class.
///
/// Used by one thread at a time. Every wait dispatches that thread's window messages and returns
/// within its time-out, in milliseconds (INFINITE: no limit). Failures are thrown as exceptions of
/// the PipeException family; the pipe stays open, and nothing stays pending.
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
    /// times out (with error WAIT_TIMEOUT); it is then cancelled.
    void WritePipe(const void* buffer, DWORD count, DWORD timeout);

    /// Serializes `message` and writes it.
    void WriteMessage(Serializer& message, DWORD timeout);

    /// The result of one read of a message.
    struct ReadResult
    {
        DWORD bytes = 0;        ///< bytes put into the buffer
        bool moreData = false;  ///< the message has more bytes after them
    };

    /// Reads at most `count` bytes of the current message; with `count` 0 nothing. A shorter
    /// message is not an error. Throws ReadPipeTimeout, PipeInterrupted or ReadPipeError.
    ReadResult ReadPipe(void* buffer, DWORD count, DWORD timeout);

    /// Reads one whole message: its length field into `size`, and all bytes that actually follow it
    /// into `buffer`. Returns the number of these bytes. The buffer is reused for a later message
    /// once nobody holds it any more. The length field may be wrong: it is only a hint, within
    /// bounds, for the size of the buffer. Throws like ReadPipe, ReadPipeError with
    /// ERROR_INVALID_DATA for a message without a length field, and an out-of-memory exception.
    DWORD ReadMessage(DWORD& size, MessageBuffer& buffer, DWORD timeout);

    /// The same, with the fields wrapped for reading.
    void ReadMessage(boost::shared_ptr<Deserializer>& message, DWORD timeout);

  protected:
    /// Finishes a write: logs it, and throws WritePipeError when it failed or was short.
    static void FinishWrite(DWORD count, const PipeOperation::Outcome& outcome);

    /// Only logs a write.
    static void LogWrite(DWORD count, DWORD written) noexcept;

    /// Waits until a message arrives or the optional event `further` is signalled. False when there
    /// is no message to read. An empty message also returns false, and is consumed. Throws like
    /// ReadPipe.
    bool AwaitArrival(DWORD timeout, HANDLE further = nullptr);

    /// Reads the message that has arrived, or the rest of it, and discards it. False when this
    /// times out first: later reads begin by discarding what is left.
    bool DropMessage(const TimeBudget& budget);

    /// The two steps of ReadMessage.
    void AwaitMessage(DWORD timeout);
    DWORD ReadArrivedMessage(DWORD& size, MessageBuffer& buffer);

  private:
    PipeOperation::Outcome ReadPiece(void* buffer, DWORD count);
    ReadResult ReadArrived(void* buffer, DWORD count);
    DWORD ReadFields(DWORD size, MessageBuffer& buffer);
    DWORD BytesLeft() const;

    HANDLE m_hPipe;
    HANDLE m_hInterrupt;
    KeptBuffers m_buffers;
    bool m_isDropping = false;  // the rest of a message is still to be discarded
    PipeOperation m_read;
    PipeOperation m_write;
};

}  // namespace tvn
