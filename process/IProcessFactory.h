#pragma once

#include <boost/shared_ptr.hpp>

#include "process/IInstancesMgr.h"
#include "process/IProcess.h"

namespace tvn
{

/// Where the scripting object gets its processes and its search for instances from: this machine or
/// the runner service. Made afresh for every use.
class IProcessFactory
{
  public:
    /// A new object that holds no process yet.
    virtual boost::shared_ptr<IProcess> NewProcess() = 0;

    virtual boost::shared_ptr<IInstancesMgr> NewInstancesMgr() = 0;
};

}  // namespace tvn
