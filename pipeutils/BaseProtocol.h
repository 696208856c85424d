#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/TimeBudget.h"
#include "pipeutils/Deserializer.h"
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
/// the PipeException family; the pipe stays open. Nothing stays pending but a write of
/// `StartMessage`.
class BaseProtocol
{
  public:
    /// Both handles are borrowed and must outlive this object. `hInterrupt` may be NULL; when it is
    /// signalled, a waiting operation ends.
    BaseProtocol(HANDLE hPipe, HANDLE hInterrupt) noexcept;

    /// Cancels a write that is still under way. Callable on any thread.
    virtual ~BaseProtocol() = default;

    BaseProtocol(const BaseProtocol&) = delete;
    BaseProtocol& operator=(const BaseProtocol&) = delete;

    /// Writes one message. Throws WritePipeError when the write fails, is short, is interrupted, or
    /// is not taken in time (with error WAIT_TIMEOUT); it is then cancelled.
    void WritePipe(const void* buffer, DWORD count, DWORD timeout);

    /// Lays out `message` and writes it.
    void WriteMessage(Serializer& message, DWORD timeout);

    /// Lays out `message` and starts to write it, without a wait. What the pipe cannot take at once
    /// stays under way, as long as it takes or this object lives, and its bytes with it; nothing
    /// else may be written until `AwaitWrite` has given true. Throws WritePipeError when the write
    /// fails at once or is short.
    void StartMessage(Serializer& message);

    /// Waits for the end of a write that is under way, whatever becomes of it. Messages that come
    /// meanwhile are dropped: the other side may be waiting for somebody to take one before it
    /// reads. False when the write has not ended in time. Throws as ReadPipe does, but for a
    /// time-out.
    bool AwaitWrite(DWORD timeout);

    /// Traces how far a write under way has come, once. Throws nothing.
    void TraceWrite() noexcept;

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

  private:
    struct Room
    {
        MessageBuffer buffer;
        DWORD size = 0;
    };

    bool AwaitArrival(DWORD timeout, HANDLE further = nullptr);
    void DropMessage(const TimeBudget& budget);
    PipeOperation::Outcome ReadPiece(void* buffer, DWORD count);
    ReadResult ReadArrived(void* buffer, DWORD count);
    DWORD ReadFields(DWORD size, MessageBuffer& buffer);
    MessageBuffer TakeRoom(DWORD size);
    DWORD BytesLeft() const;

    HANDLE m_hPipe;
    HANDLE m_hInterrupt;
    PipeOperation m_read;
    bool m_isDropping = false;      // the rest of a message is still to be taken out
    Room m_rooms[2];                // of earlier messages
    MessageBuffer m_bytesUnderWay;  // outlives the write
    DWORD m_bytesToTrace = 0;       // of a write under way that has no line in the log yet
    PipeOperation m_write;
};

}  // namespace tvn
