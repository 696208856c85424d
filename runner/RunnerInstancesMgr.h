#pragma once

#include "process/IInstancesMgr.h"

namespace tvn
{

/// Finds instances through the runner service, in the order in which it lists them. The service's
/// result is passed on, with an empty list unless it is `sOk`; a pipe failure is `sTimeout` when
/// writing the request timed out, otherwise `sFail`.
class RunnerInstancesMgr : public IInstancesMgr
{
  public:
    int GetInstancesByName(std::vector<boost::shared_ptr<Instance>>& instances,
                           ComString processName, DWORD timeoutMs) override;
    virtual ~RunnerInstancesMgr() = default;
};

}  // namespace tvn
