#include "runner/BaseMsgProtocol.h"

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"

namespace tvn
{

void BaseMsgProtocol::WriteMsg(boost::shared_ptr<BaseMsg> msg, std::uint32_t* msgIdOut,
                               DWORD timeoutMs)
{
    const auto serializer = boost::make_shared<Serializer>();
    serializer->AddUInt(msg->GetType());
    msg->Serialize(serializer);
    WriteMessage(*serializer, timeoutMs);
    if (msgIdOut != nullptr) {
        *msgIdOut = msg->msgId;
    }
}

void BaseMsgProtocol::ReadMsg(boost::shared_ptr<BaseMsg>& msg, DWORD timeoutMs)
{
    boost::shared_ptr<Deserializer> message;
    ReadMessage(message, timeoutMs);
    unsigned int type = 0;
    message->ReadUInt(type);
    const boost::shared_ptr<BaseMsg> created = CreateMsg(type);
    if (!created) {
        throw ReadPipeError(ERROR_INVALID_DATA, __FILE__, __LINE__);
    }
    created->Deserialize(message);
    msg = created;
}

}  // namespace tvn
