#pragma once

#include <windows.h>

#include <string>

#include "basicslib/Handle.h"

namespace soak
{

/// This program once more, in a process of its own that plays a part in a campaign. It is ended
/// with this object.
class ChildProgram
{
  public:
    /// Throws std::runtime_error when it cannot be started.
    explicit ChildProgram(const std::string& part);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    /// Its exit code, or STILL_ACTIVE when it has not ended after `milliseconds`.
    DWORD ExitCode(DWORD milliseconds) const;

  private:
    static HANDLE Start(const std::string& part);

    tvn::Handle m_process;
};

/// What this program does when it is such a child; its exit code.
int PlayPart(const std::string& part);

}  // namespace soak
