#pragma once

#include "process/IProcessFactory.h"

namespace tvn
{

/// Processes and instances of this machine, handled directly.
class ProcessFactory : public IProcessFactory
{
  public:
    boost::shared_ptr<IProcess> NewProcess() override;
    boost::shared_ptr<IInstancesMgr> NewInstancesMgr() override;
    virtual ~ProcessFactory() = default;
};

}  // namespace tvn
