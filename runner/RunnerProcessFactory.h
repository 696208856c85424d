#pragma once

#include "process/IProcessFactory.h"

namespace tvn
{

/// Processes and instances handled through the runner service.
class RunnerProcessFactory : public IProcessFactory
{
  public:
    boost::shared_ptr<IProcess> NewProcess() override;
    boost::shared_ptr<IInstancesMgr> NewInstancesMgr() override;
    virtual ~RunnerProcessFactory() = default;
};

}  // namespace tvn
