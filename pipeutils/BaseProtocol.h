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
/// One protocol message is one pipe message; its layout is the one of `Serializer`. The protocols
/// of the command, callback and runner pipes derive from this class.
///
/// Used by one thread at a time. Every wait dispatches that thread's window messages and comes back
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

    /// Reads one whole message: its length field into `size`, and all that it really holds behind
    /// that into `buffer`, whose number of bytes is returned; it serves a later message when nobody
    /// holds it any more. The length field only tells how much room to make, within bounds: it may
    /// be off. Throws as ReadPipe does, ReadPipeError with ERROR_INVALID_DATA for a message without
    /// a length field, and an out-of-memory exception.
    DWORD ReadMessage(DWORD& size, MessageBuffer& buffer, DWORD timeout);

    /// The same, with the fields wrapped for reading.
    void ReadMessage(boost::shared_ptr<Deserializer>& message, DWORD timeout);

  protected:
    /// The end of every write: its line in the log, and WritePipeError when it failed or is short.
    static void FinishWrite(DWORD count, const PipeOperation::Outcome& outcome);

    /// The line alone.
    static void LogWrite(DWORD count, DWORD written) noexcept;

    /// Waits for a message, and no longer than until `further`, an optional event, is signalled.
    /// False when no message is there to be read: also one of no bytes, which is read with that.
    /// Throws as ReadPipe does.
    bool AwaitArrival(DWORD timeout, HANDLE further = nullptr);

    /// Takes the message that has arrived, or what is left of it, out of the pipe without a place
    /// for it. False when the time was over before: later reads begin with what is left.
    bool DropMessage(const TimeBudget& budget);

    /// The two halves of ReadMessage.
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
    bool m_isDropping = false;  // the rest of a message is still to be taken out
    PipeOperation m_read;
    PipeOperation m_write;
};

}  // namespace tvn
