#include "runner/RunnerProtocol.h"

#include <boost/make_shared.hpp>

namespace tvn
{

boost::shared_ptr<BaseMsg> RunnerProtocol::CreateMsg(std::uint32_t type)
{
    switch (type) {
        case mtStart:
            return boost::make_shared<MsgStart>();
        case mtStartComplete:
            return boost::make_shared<MsgStartComplete>();
        case mtTerminate:
            return boost::make_shared<MsgTerminate>();
        case mtTerminateComplete:
            return boost::make_shared<MsgTerminateComplete>();
        case mtWaitForExit:
            return boost::make_shared<MsgWaitForExit>();
        case mtWaitForExitComplete:
            return boost::make_shared<MsgWaitForExitComplete>();
        case mtGetProcessesByName:
            return boost::make_shared<MsgGetProcessesByName>();
        case mtGetProcessesByNameComplete:
            return boost::make_shared<MsgGetProcessesByNameComplete>();
        case mtGetInstancesByName:
            return boost::make_shared<MsgGetInstancesByName>();
        case mtGetInstancesByNameComplete:
            return boost::make_shared<MsgGetInstancesByNameComplete>();
        default:
            return {};
    }
}

}  // namespace tvn
