#include "runner/RunnerMessages.h"

#include <atomic>

namespace tvn
{
namespace
{

/// The id of the last message that was given one. Never reset while the program is loaded.
std::atomic<std::uint32_t> g_lastMsgId{0};

}  // namespace

void BaseMsg::Serialize(boost::shared_ptr<Serializer> serializer)
{
    if (msgId == kNoId) {
        msgId = ++g_lastMsgId;
    }
    FieldWriter{*serializer}(msgId);
}

void BaseMsg::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    FieldReader{*deserializer}(msgId);
}

}  // namespace tvn
