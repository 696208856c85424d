#include "pipeutils/BaseProtocol.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstring>
#include <new>

#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"
#include "basicslib/Log.h"
#include "basicslib/ScopeExit.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/WaitPumping.h"

namespace tvn
{
namespace
{

/// A length field up to this value is trusted without asking how many bytes the pipe holds.
constexpr DWORD kBelievedLength = 0x8000;

bool IsSignalled(HANDLE event) noexcept
{
    return Handle::IsValid(event) && WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

void LogRead(bool success, DWORD count, DWORD read) noexcept
{
    LogDebug("[BaseProtocol::ReadPipe] fSuccess = %x, cbBuf = %x, cbBytesRead = %x",
             success ? 1U : 0U, static_cast<unsigned int>(count), static_cast<unsigned int>(read));
}

}  // namespace

BaseProtocol::BaseProtocol(HANDLE hPipe, HANDLE hInterrupt) noexcept
    : m_hPipe(hPipe), m_hInterrupt(hInterrupt), m_read(hPipe), m_write(hPipe)
{}

void BaseProtocol::WritePipe(const void* buffer, DWORD count, DWORD timeout)
{
    TVN_ASSERT(!m_write.IsPending());
    // A message that fits the pipe's buffers is written at once. A larger one stays pending until
    // the other side has read it, which it may never do.
    const ScopeExit cancel([this] { m_write.Cancel(); });
    PipeOperation::Outcome outcome = m_write.Write(buffer, count);
    if (m_write.IsPending()) {
        if (m_write.Wait(timeout, m_hInterrupt)) {
            outcome = m_write.Take();
        } else {
            const DWORD error = IsSignalled(m_hInterrupt) ? ERROR_OPERATION_ABORTED : WAIT_TIMEOUT;
            outcome = m_write.Cancel();
            outcome.error = outcome.success ? ERROR_SUCCESS : error;
        }
    }
    FinishWrite(count, outcome);
}

void BaseProtocol::WriteMessage(Serializer& message, DWORD timeout)
{
    message.Serialize();
    WritePipe(message.GetBuffer().get(), message.GetSize(), timeout);
}

void BaseProtocol::FinishWrite(DWORD count, const PipeOperation::Outcome& outcome)
{
    LogWrite(count, outcome.bytes);
    if (!outcome.success || outcome.bytes != count) {
        throw WritePipeError(outcome.error, __FILE__, __LINE__);
    }
}

void BaseProtocol::LogWrite(DWORD count, DWORD written) noexcept
{
    LogDebug("[BaseProtocol::WritePipe] cbBuf = %x, cbWritten = %x ",
             static_cast<unsigned int>(count), static_cast<unsigned int>(written));
}

bool BaseProtocol::DropMessage(const TimeBudget& budget)
{
    unsigned char piece[0x10000];
    DWORD dropped = 0;
    PipeOperation::Outcome outcome;
    do {
        outcome = ReadPiece(piece, sizeof piece);
        m_isDropping = outcome.error == ERROR_MORE_DATA;
        dropped += outcome.bytes;
    } while (m_isDropping && budget.Remaining() != 0);
    LogRead(outcome.success || m_isDropping, sizeof piece, dropped);
    return !m_isDropping;
}

bool BaseProtocol::AwaitArrival(DWORD timeout, HANDLE further)
{
    // Wait with a read of zero bytes, so that a time-out can cancel it without losing data.
    // ERROR_MORE_DATA means that a message, or the rest of one, has arrived.
    const ScopeExit cancel([this] { m_read.Cancel(); });
    const PipeOperation::Outcome outcome = m_read.Read(nullptr, 0);
    if (outcome.success || outcome.error == ERROR_MORE_DATA) {
        return !outcome.success;
    }
    if (!m_read.IsPending()) {
        LogDebug("[BaseProtocol::ReadPipe] ReadFile (GetLastError() = 0x%08x)",
                 static_cast<unsigned int>(outcome.error));
        throw ReadPipeError(outcome.error, __FILE__, __LINE__);
    }
    if (m_read.Wait(timeout, m_hInterrupt, further)) {
        // Ignore any other failure: the read of the message itself reports it again.
        return m_read.Take().error == ERROR_MORE_DATA;
    }
    const DWORD error = GetLastError();
    if (IsSignalled(further)) {
        return false;
    }
    if (IsSignalled(m_hInterrupt)) {
        throw PipeInterrupted(error, __FILE__, __LINE__);
    }
    throw ReadPipeTimeout(error, __FILE__, __LINE__);
}

/// Reads from a message that has arrived. The error is ERROR_MORE_DATA when there is more of it.
PipeOperation::Outcome BaseProtocol::ReadPiece(void* buffer, DWORD count)
{
    PipeOperation::Outcome outcome = m_read.Read(buffer, count);
    if (m_read.IsPending()) {
        // The writer has cancelled the message that had arrived.
        const DWORD error = outcome.error;
        outcome = m_read.Cancel();
        if (!outcome.success && outcome.error != ERROR_MORE_DATA) {
            outcome.error = error;
        }
    }
    if (outcome.error == ERROR_MORE_DATA) {
        outcome.bytes = count;
    }
    return outcome;
}

BaseProtocol::ReadResult BaseProtocol::ReadArrived(void* buffer, DWORD count)
{
    const PipeOperation::Outcome outcome = ReadPiece(buffer, count);
    const bool moreData = outcome.error == ERROR_MORE_DATA;
    const bool success = outcome.success || moreData;
    LogRead(success, count, outcome.bytes);
    if (!success) {
        throw ReadPipeError(outcome.error, __FILE__, __LINE__);
    }
    return {outcome.bytes, moreData};
}

BaseProtocol::ReadResult BaseProtocol::ReadPipe(void* buffer, DWORD count, DWORD timeout)
{
    if (count == 0) {
        return {};
    }
    AwaitMessage(timeout);
    return ReadArrived(buffer, count);
}

void BaseProtocol::AwaitMessage(DWORD timeout)
{
    if (m_isDropping) {
        const TimeBudget budget(timeout);
        if (!DropMessage(budget)) {
            throw ReadPipeTimeout(WAIT_TIMEOUT, __FILE__, __LINE__);
        }
        timeout = budget.Remaining();
    }
    AwaitArrival(timeout);
}

DWORD BaseProtocol::ReadMessage(DWORD& size, MessageBuffer& buffer, DWORD timeout)
{
    size = 0;
    buffer.reset();
    AwaitMessage(timeout);
    return ReadArrivedMessage(size, buffer);
}

DWORD BaseProtocol::ReadArrivedMessage(DWORD& size, MessageBuffer& buffer)
{
    const ReadResult length = ReadArrived(&size, sizeof size);
    if (length.bytes != sizeof size) {
        throw ReadPipeError(ERROR_INVALID_DATA, __FILE__, __LINE__);
    }
    if (!length.moreData) {
        return 0;  // another read would take the next message
    }
    try {
        return ReadFields(size, buffer);
    } catch (const std::bad_alloc&) {
        DropMessage(TimeBudget(0));  // or the next read would begin in the middle of this message
        throw;
    }
}

/// Reads the message after its length field; all of it has arrived.
DWORD BaseProtocol::ReadFields(DWORD size, MessageBuffer& buffer)
{
    // The other side may claim any length; what counts is what the pipe holds.
    const DWORD room = size <= kBelievedLength
                           ? size
                           : static_cast<DWORD>(std::min<std::size_t>(
                                 size, std::size_t{BytesLeft()} + kLengthFieldSize));
    buffer = m_buffers.Take(room);
    const ReadResult fields = room == 0 ? ReadResult{0, true} : ReadArrived(buffer.get(), room);
    if (!fields.moreData) {
        return fields.bytes;
    }
    const DWORD rest = BytesLeft();
    const MessageBuffer whole = NewMessageBuffer(static_cast<std::size_t>(fields.bytes) + rest);
    std::memcpy(whole.get(), buffer.get(), fields.bytes);
    buffer = whole;
    return fields.bytes + ReadArrived(whole.get() + fields.bytes, rest).bytes;
}

void BaseProtocol::ReadMessage(boost::shared_ptr<Deserializer>& message, DWORD timeout)
{
    DWORD size = 0;
    MessageBuffer buffer;
    const DWORD received = ReadMessage(size, buffer, timeout);
    message = boost::make_shared<Deserializer>(received + kLengthFieldSize, buffer);
}

DWORD BaseProtocol::BytesLeft() const
{
    DWORD rest = 0;
    if (!PeekNamedPipe(m_hPipe, nullptr, 0, nullptr, nullptr, &rest)) {
        throw ReadPipeError(GetLastError(), __FILE__, __LINE__);
    }
    return rest;
}

}  // namespace tvn
