#pragma once

#include <windows.h>

#include <string>

#include "basicslib/Handle.h"

namespace bench
{

/// A program of the folder of this one, in a process of its own that ends with this object.
class ChildProcess
{
  public:
    /// Starts `program`, a path below this program's folder, or a whole one. Throws
    /// std::runtime_error when it cannot.
    ChildProcess(const std::string& program, const std::string& arguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    DWORD Id() const noexcept { return m_id; }
    HANDLE Get() const noexcept { return m_process.Get(); }

  private:
    explicit ChildProcess(const PROCESS_INFORMATION& started) noexcept;

    tvn::Handle m_process;
    DWORD m_id;
};

/// An instance to play against: the constructor returns when it serves its pipe and its window is
/// there. Throws std::runtime_error when it does not come up.
class PeerProcess
{
  public:
    /// `arguments` are those of the program beside `ready=`.
    explicit PeerProcess(const std::string& arguments = {});

    /// Its command pipe.
    const std::string& PipeName() const noexcept { return m_pipeName; }

  private:
    PeerProcess(const std::string& readyName, const std::string& arguments);

    tvn::Handle m_ready;
    ChildProcess m_process;
    std::string m_pipeName;
};

}  // namespace bench
