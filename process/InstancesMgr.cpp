#include "process/InstancesMgr.h"

#include <boost/make_shared.hpp>

#include "basicslib/Handle.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/StatusCode.h"
#include "process/AppWindowIterator.h"
#include "process/Process.h"
#include "process/ProcessFileName.h"

namespace tvn
{

int InstancesMgr::GetInstancesByName(std::vector<boost::shared_ptr<Instance>>& instances,
                                     ComString processName, DWORD /*timeoutMs*/)
{
    instances.clear();
    CAppWindowIterator windows(processName, kInstanceWindowTitle, false);
    for (HWND hwnd = windows.First(); hwnd != nullptr; hwnd = windows.Next()) {
        DWORD pid = 0;
        GetWindowThreadProcessId(hwnd, &pid);
        const auto handle =
            boost::make_shared<Handle>([pid] { return OpenProcess(kProcessAccess, FALSE, pid); });
        if (!handle->IsValid()) {
            LogDebug("Cann't open process, pid = %d", static_cast<int>(pid));
            continue;
        }
        // Since it was listed, the window may have gone and its id may name another process.
        if (HasProcessFileName(handle->Get(), processName)) {
            const auto process = boost::make_shared<Process>(handle, pid);
            instances.push_back(boost::make_shared<Instance>(process, hwnd));
        }
    }
    return sOk;
}

}  // namespace tvn
