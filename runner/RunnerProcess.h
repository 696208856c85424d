#pragma once

#include <cstdint>

#include "process/IProcess.h"

namespace tvn
{

/// A process that the runner service handles on the system's behalf and names by a key. Every
/// operation is one request on a connection of its own. The service's own result codes are passed
/// on unchanged; a pipe failure becomes a status code: `sTimeout` when writing the request timed
/// out, otherwise `sFail` unless stated below.
class RunnerProcess : public IProcess
{
  public:
    /// Holds no process.
    RunnerProcess() = default;

    /// Holds the process that the service names `processKey`.
    RunnerProcess(const ComString& processKey, std::uint32_t pid)
        : m_processKey(processKey), m_pid(pid)
    {}

    /// Tries to reach the service for two thirds of `timeoutMs`. `sRunnerNotReachable` when it
    /// cannot be reached, and when its answer does not come or cannot be read. The key and the id
    /// that the service answers with are kept whatever its result.
    int Start(ComString appPath, ComString cmdLine, ComString user, ComString domain,
              ComString password, DWORD timeoutMs) override;

    /// Retries as long as all pipe instances of the service are busy, up to the time-out; then
    /// `sTimeout`.
    int Terminate(DWORD timeoutMs) override;

    int GetProcessesByName(ComString name, std::vector<boost::shared_ptr<IProcess>>& processes,
                           DWORD timeoutMs) override;
    DWORD GetPid() override { return m_pid; }

    /// The service waits as long as this side does, so either side may be the one that times out.
    int WaitForExit(DWORD timeoutMs) override;

    virtual ~RunnerProcess() = default;
    RunnerProcess(const RunnerProcess&) = delete;
    RunnerProcess& operator=(const RunnerProcess&) = delete;

  private:
    ComString m_processKey;
    std::uint32_t m_pid = 0;
};

}  // namespace tvn
