#include "process/ProcessFactory.h"

#include <boost/make_shared.hpp>

#include "process/InstancesMgr.h"
#include "process/Process.h"

namespace tvn
{

boost::shared_ptr<IProcess> ProcessFactory::NewProcess()
{
    return boost::make_shared<Process>();
}

boost::shared_ptr<IInstancesMgr> ProcessFactory::NewInstancesMgr()
{
    return boost::make_shared<InstancesMgr>();
}

}  // namespace tvn
