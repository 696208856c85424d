#include "pipeutils/CallbackProtocol.h"

namespace tvn
{

void CallbackProtocol::SendHwnd(DWORD hwnd, DWORD timeout)
{
    Serializer message;
    message.AddUInt(hwnd);
    WriteMessage(message, timeout);
}

void CallbackProtocol::ReceiveHwnd(DWORD& hwnd, DWORD timeout)
{
    boost::shared_ptr<Deserializer> message;
    ReadMessage(message, timeout);
    unsigned int value = 0;
    message->ReadUInt(value);
    hwnd = value;
}

}  // namespace tvn
