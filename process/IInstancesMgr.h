#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <vector>

#include "basicslib/ComString.h"
#include "process/Instance.h"

namespace tvn
{

/// Finds running browser instances.
class IInstancesMgr
{
  public:
    /// Empties `instances` and fills it, in discovery order, with the instances whose executable
    /// has the file name `processName`. Returns a status code: `sOk` when the search ran, also when
    /// it found nothing. `timeoutMs` in milliseconds, INFINITE for no limit.
    virtual int GetInstancesByName(std::vector<boost::shared_ptr<Instance>>& instances,
                                   ComString processName, DWORD timeoutMs) = 0;
};

}  // namespace tvn
