#pragma once

#include <windows.h>

#include <memory>
#include <vector>

namespace browser
{

/// How a process is started that inherits its standard input and output and the handles of a list,
/// and no other of this process. All are borrowed and have to live, inheritable, as long as this
/// object. Used by one thread.
class InheritedHandles
{
  public:
    /// Throws BrowserError when the system does not take the list.
    InheritedHandles(HANDLE input, HANDLE output, std::vector<HANDLE> others);
    ~InheritedHandles();
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    /// For a start with EXTENDED_STARTUPINFO_PRESENT.
    STARTUPINFOW* StartupInfo() { return &m_startup.StartupInfo; }

  private:
    std::vector<HANDLE> m_handles;
    std::unique_ptr<char[]> m_memory;  ///< of the list
    STARTUPINFOEXW m_startup = {};
};

}  // namespace browser
