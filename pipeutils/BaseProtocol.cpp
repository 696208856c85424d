#include "pipeutils/BaseProtocol.h"

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/Overlapped.h"

namespace tvn
{

BaseProtocol::BaseProtocol(HANDLE hPipe, HANDLE hInterrupt) noexcept
    : m_hPipe(hPipe), m_hInterrupt(hInterrupt)
{}

void BaseProtocol::WritePipe(const void* buffer, DWORD count, DWORD timeout)
{
    // A message that the pipe's buffers hold is taken at once. A larger one stays pending until the
    // other side has read it, which it may never do.
    const auto overlapped = boost::make_shared<Overlapped>(m_hPipe);
    DWORD written = 0;
    BOOL success = WriteFile(m_hPipe, buffer, count, &written, overlapped->GetOverlapped());
    DWORD error = GetLastError();
    if (!success && error == ERROR_IO_PENDING) {
        overlapped->SetPending();
        if (overlapped->Wait(timeout, m_hInterrupt)) {
            success = GetOverlappedResult(m_hPipe, overlapped->GetOverlapped(), &written, FALSE);
            error = GetLastError();
        } else {
            error = IsInterrupted() ? ERROR_OPERATION_ABORTED : WAIT_TIMEOUT;
        }
    }
    LogDebug("[BaseProtocol::WritePipe] cbBuf = %x, cbWritten = %x ",
             static_cast<unsigned int>(count), static_cast<unsigned int>(written));
    if (!success || written != count) {
        throw WritePipeError(error, __FILE__, __LINE__);
    }
}

void BaseProtocol::WriteMessage(Serializer& message, DWORD timeout)
{
    message.Serialize();
    WritePipe(message.GetBuffer().get(), message.GetSize(), timeout);
}

BaseProtocol::ReadResult BaseProtocol::ReadPipe(void* buffer, DWORD count, DWORD timeout)
{
    ReadResult result;
    if (count == 0) {
        return result;
    }
    const auto overlapped = boost::make_shared<Overlapped>(m_hPipe);

    // The arrival of a message is awaited with a read of no bytes, so that a time-out can cancel it
    // without losing data. ERROR_MORE_DATA says that a message, or the rest of one, is there.
    if (!ReadFile(m_hPipe, nullptr, 0, nullptr, overlapped->GetOverlapped())) {
        const DWORD error = GetLastError();
        if (error == ERROR_IO_PENDING) {
            overlapped->SetPending();
            if (!overlapped->Wait(timeout, m_hInterrupt)) {
                const DWORD waitError = GetLastError();
                if (IsInterrupted()) {
                    throw PipeInterrupted(waitError, __FILE__, __LINE__);
                }
                throw ReadPipeTimeout(waitError, __FILE__, __LINE__);
            }
        } else if (error != ERROR_MORE_DATA) {
            LogDebug("[BaseProtocol::ReadPipe] ReadFile (GetLastError() = 0x%08x)",
                     static_cast<unsigned int>(error));
            throw ReadPipeError(error, __FILE__, __LINE__);
        }
    }

    BOOL success = ReadFile(m_hPipe, buffer, count, &result.bytes, overlapped->GetOverlapped());
    const DWORD error = GetLastError();
    if (!success && error == ERROR_IO_PENDING) {
        overlapped->SetPending();
    }
    if (!success && error == ERROR_MORE_DATA) {
        success = TRUE;
        result.bytes = count;
        result.moreData = true;
    }
    LogDebug("[BaseProtocol::ReadPipe] fSuccess = %x, cbBuf = %x, cbBytesRead = %x",
             static_cast<unsigned int>(success), static_cast<unsigned int>(count),
             static_cast<unsigned int>(result.bytes));
    if (!success) {
        throw ReadPipeError(error, __FILE__, __LINE__);
    }
    return result;
}

void BaseProtocol::ReadMessage(DWORD& size, MessageBuffer& buffer, DWORD timeout)
{
    const TimeBudget budget(timeout);
    size = 0;
    buffer.reset();
    const ReadResult length = ReadPipe(&size, sizeof size, budget.Remaining());

    // The other side may claim any length; what counts is what the pipe holds of this message.
    DWORD rest = 0;
    if (length.moreData && !PeekNamedPipe(m_hPipe, nullptr, 0, nullptr, nullptr, &rest)) {
        throw ReadPipeError(GetLastError(), __FILE__, __LINE__);
    }
    const std::size_t whole = sizeof size + static_cast<std::size_t>(rest);
    buffer = NewMessageBuffer(whole);
    // (A message that ends with its length must not make this read take the next one.)
    const DWORD count = rest == 0 ? 0 : static_cast<DWORD>(whole);
    const ReadResult fields = ReadPipe(buffer.get(), count, budget.Remaining());

    // A writer that gives up in between takes the rest away, and the read gets the next message:
    // whatever does not fit is taken out with it.
    for (bool rests = fields.moreData; rests;) {
        unsigned char dropped[256];
        rests = ReadPipe(dropped, sizeof dropped, budget.Remaining()).moreData;
    }
    if (length.bytes != sizeof size || fields.bytes != rest || whole != size) {
        throw ReadPipeError(ERROR_INVALID_DATA, __FILE__, __LINE__);
    }
}

void BaseProtocol::ReadMessage(boost::shared_ptr<Deserializer>& message, DWORD timeout)
{
    DWORD size = 0;
    MessageBuffer buffer;
    ReadMessage(size, buffer, timeout);
    message = boost::make_shared<Deserializer>(size, buffer);
}

bool BaseProtocol::IsInterrupted() const
{
    return Handle::IsValid(m_hInterrupt) && WaitForSingleObject(m_hInterrupt, 0) == WAIT_OBJECT_0;
}

}  // namespace tvn
