#pragma once

#include "pipeutils/BaseProtocol.h"

namespace tvn
{

/// The one message of a callback pipe: a new instance tells the process that started it which
/// window names its command pipe. Time-outs are milliseconds; failures are exceptions of the
/// PipeException family.
class CallbackProtocol : public BaseProtocol
{
  public:
    using BaseProtocol::BaseProtocol;

    /// Instance side: reports the 32-bit value of the instance's window handle.
    void SendHwnd(DWORD hwnd, DWORD timeout);

    /// Starting side: reads it.
    void ReceiveHwnd(DWORD& hwnd, DWORD timeout);
};

}  // namespace tvn
