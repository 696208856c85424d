#pragma once

#include <boost/shared_ptr.hpp>

#include "basicslib/Handle.h"
#include "process/IProcess.h"

namespace tvn
{

/// A process of this machine, handled through its Win32 handle. It either holds no process (fresh,
/// or after a failed `Start`) or holds one until it is destroyed, also after that process has
/// ended.
class Process : public IProcess
{
  public:
    /// Holds no process.
    Process() noexcept = default;

    /// Holds an open process, shared, and its id. With an invalid handle it holds none.
    Process(const boost::shared_ptr<Handle>& handle, DWORD pid) noexcept
        : m_handle(handle), m_pid(pid)
    {}

    /// The local start takes as long as the system does; `timeoutMs` is not used.
    int Start(ComString appPath, ComString cmdLine, ComString user, ComString domain,
              ComString password, DWORD timeoutMs) override;
    int Terminate(DWORD timeoutMs) override;
    int GetProcessesByName(ComString name, std::vector<boost::shared_ptr<IProcess>>& processes,
                           DWORD timeoutMs) override;
    DWORD GetPid() override { return HoldsProcess() ? m_pid : 0; }
    int WaitForExit(DWORD timeoutMs) override;

    virtual ~Process() = default;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

  private:
    bool HoldsProcess() const noexcept { return m_handle && m_handle->IsValid(); }

    boost::shared_ptr<Handle> m_handle;
    DWORD m_pid = 0;
};

}  // namespace tvn
