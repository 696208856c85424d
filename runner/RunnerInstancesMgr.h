#pragma once

#include "process/IInstancesMgr.h"

namespace tvn
{

/// Finds instances through the runner service, in the order in which it lists them. A result of the
/// service is passed on, with an empty list unless it is `sOk`; a pipe failure is `sTimeout` when
/// the service did not take the request in time, otherwise `sFail`.
class RunnerInstancesMgr : public IInstancesMgr
{
  public:
    int GetInstancesByName(std::vector<boost::shared_ptr<Instance>>& instances,
                           ComString processName, DWORD timeoutMs) override;
    virtual ~RunnerInstancesMgr() = default;
};

}  // namespace tvn
