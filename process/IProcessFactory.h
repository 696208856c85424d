#pragma once

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include "process/IInstancesMgr.h"
#include "process/IProcess.h"

namespace tvn
{

/// Where the scripting object gets its processes and its search for instances from: this machine or
/// the runner service. A new one is created for every use.
class IProcessFactory
{
  public:
    /// A new object that holds no process yet.
    virtual boost::shared_ptr<IProcess> NewProcess() = 0;

    virtual boost::shared_ptr<IInstancesMgr> NewInstancesMgr() = 0;
};

/// A factory that creates objects of these two classes.
template <class ProcessClass, class InstancesMgrClass>
class ProcessFactoryOf : public IProcessFactory
{
  public:
    boost::shared_ptr<IProcess> NewProcess() override { return boost::make_shared<ProcessClass>(); }
    boost::shared_ptr<IInstancesMgr> NewInstancesMgr() override
    {
        return boost::make_shared<InstancesMgrClass>();
    }
    virtual ~ProcessFactoryOf() = default;
};

}  // namespace tvn
