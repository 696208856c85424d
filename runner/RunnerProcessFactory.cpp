#include "runner/RunnerProcessFactory.h"

#include <boost/make_shared.hpp>

#include "runner/RunnerInstancesMgr.h"
#include "runner/RunnerProcess.h"

namespace tvn
{

boost::shared_ptr<IProcess> RunnerProcessFactory::NewProcess()
{
    return boost::make_shared<RunnerProcess>();
}

boost::shared_ptr<IInstancesMgr> RunnerProcessFactory::NewInstancesMgr()
{
    return boost::make_shared<RunnerInstancesMgr>();
}

}  // namespace tvn
