#pragma once

#include "process/IInstancesMgr.h"

namespace tvn
{

/// Finds the instances of this machine by their windows, in the Z order of the top-level windows
/// and, below one of those, in the order in which the system lists its descendants. Instances whose
/// process cannot be opened for waiting and ending are left out.
class InstancesMgr : public IInstancesMgr
{
  public:
    /// Always returns `sOk`; takes as long as the search does and does not use `timeoutMs`.
    int GetInstancesByName(std::vector<boost::shared_ptr<Instance>>& instances,
                           ComString processName, DWORD timeoutMs) override;
    virtual ~InstancesMgr() = default;
};

}  // namespace tvn
