#include "runner/RunnerProtocol.h"

#include <boost/make_shared.hpp>

namespace tvn
{
namespace
{

/// A new message of the class among `Messages` that has this type id.
template <class... Messages>
boost::shared_ptr<BaseMsg> NewMessage(std::uint32_t type)
{
    boost::shared_ptr<BaseMsg> message;
    static_cast<void>(
        ((Messages::kTypeId == type && (message = boost::make_shared<Messages>())) || ...));
    return message;
}

}  // namespace

boost::shared_ptr<BaseMsg> RunnerProtocol::CreateMsg(std::uint32_t type)
{
    return NewMessage<MsgStart, MsgStartComplete, MsgTerminate, MsgTerminateComplete,
                      MsgWaitForExit, MsgWaitForExitComplete, MsgGetProcessesByName,
                      MsgGetProcessesByNameComplete, MsgGetInstancesByName,
                      MsgGetInstancesByNameComplete>(type);
}

}  // namespace tvn
