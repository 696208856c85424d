#include "runner/RunnerInstancesMgr.h"

#include <boost/make_shared.hpp>

#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerProcess.h"
#include "runner/RunnerRequest.h"

namespace tvn
{

int RunnerInstancesMgr::GetInstancesByName(std::vector<boost::shared_ptr<Instance>>& instances,
                                           ComString processName, DWORD timeoutMs)
{
    instances.clear();
    const auto request = boost::make_shared<MsgGetInstancesByName>();
    request->processName = processName;
    boost::shared_ptr<MsgGetInstancesByNameComplete> reply;
    const int result = Ask(request, {.time = timeoutMs}, reply);
    if (result == sOk) {
        for (std::size_t index = 0; index < reply->pids.size(); ++index) {
            const auto process =
                boost::make_shared<RunnerProcess>(reply->processKeys[index], reply->pids[index]);
            instances.push_back(
                boost::make_shared<Instance>(process, WindowFromValue(reply->windows[index])));
        }
    }
    return result;
}

}  // namespace tvn
