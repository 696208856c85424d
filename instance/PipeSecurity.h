#pragma once

#include <windows.h>

#include <memory>

namespace instance
{

/// Who may open a pipe, besides the system and the machine's administrators.
enum class PipeAccess {
    kOwnAccount,  ///< the account that this process runs under
    kEveryone,    ///< every account of this machine that has logged on
};

/// The access control list of a new pipe. It replaces the system's default, which lets every
/// account read, and so hold connections. The right to write to a pipe includes the right to create
/// further server ends of it. Only the administrators, the system and the own account get more than
/// that.
class PipeSecurity
{
  public:
    /// Throws Win32Exception, and std::bad_alloc.
    explicit PipeSecurity(PipeAccess access);

    /// For the call that makes the pipe; not inheritable. Valid as long as this object lives.
    SECURITY_ATTRIBUTES* Get() noexcept { return &m_attributes; }

  private:
    struct LocalMemory
    {
        void operator()(void* memory) const noexcept { LocalFree(memory); }
    };

    std::unique_ptr<void, LocalMemory> m_descriptor;
    SECURITY_ATTRIBUTES m_attributes;
};

}  // namespace instance
