#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>

#include "pipeutils/BaseProtocol.h"
#include "runner/RunnerMessages.h"

namespace tvn
{

/// Writes and reads typed messages, each as one pipe message: the type id, then the message's own
/// fields. Time-outs are milliseconds, INFINITE for none; failures are thrown as exceptions of the
/// PipeException family. Used by one thread.
class BaseMsgProtocol : protected BaseProtocol
{
  public:
    /// Both handles are borrowed, see `BaseProtocol`.
    BaseMsgProtocol(HANDLE hPipe, HANDLE hInterrupt) noexcept : BaseProtocol(hPipe, hInterrupt) {}

    /// Writes one message. `msgIdOut`, which may be null, receives its id, which this write may
    /// have assigned.
    virtual void WriteMsg(boost::shared_ptr<BaseMsg> msg, std::uint32_t* msgIdOut, DWORD timeoutMs);

    /// Reads one message as an object of its own class. Throws ReadPipeError for a type that
    /// `CreateMsg` does not know, and for too few fields.
    virtual void ReadMsg(boost::shared_ptr<BaseMsg>& msg, DWORD timeoutMs);

    /// A new, empty message of this type, or an empty pointer when there is no such type.
    virtual boost::shared_ptr<BaseMsg> CreateMsg(std::uint32_t type) = 0;
};

}  // namespace tvn
