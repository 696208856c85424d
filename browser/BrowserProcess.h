#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "basicslib/Handle.h"
#include "browser/BrowserChoice.h"

namespace browser
{

/// The process of the real browser, with a debugging port on the loopback that the browser chooses
/// itself. On Windows it ends with this object at the latest, and with this process, however that
/// ends. A program of the machine below Wine has no handle here: it is asked to end.
class BrowserProcess
{
  public:
    /// Starts the browser on `profile`, a fresh folder. Throws BrowserError.
    BrowserProcess(const BrowserChoice& choice, const std::wstring& profile);
    BrowserProcess(const BrowserProcess&) = delete;
    BrowserProcess& operator=(const BrowserProcess&) = delete;

    /// Where the browser listens for its driver.
    struct Endpoint
    {
        unsigned short port;
        std::string path;
    };

    /// What the browser on `profile` has written about itself; the port is 0 as long as there is
    /// nothing.
    static Endpoint ReadEndpoint(const std::wstring& profile);

    /// Waits up to `timeout` milliseconds until it listens. Throws BrowserError, with what the
    /// browser has printed, when it does not come up.
    Endpoint WaitForEndpoint(DWORD timeout) const;

    /// The browser's own account of its process id, for the end of one that has no handle here.
    void SetHostPid(unsigned long pid) { m_hostPid = pid; }

    /// Waits up to `timeout` milliseconds for the end of the process. True when it has ended.
    bool WaitForEnd(DWORD timeout) const;

  private:
    std::wstring m_profile;
    std::wstring m_program;
    tvn::Handle m_job;
    boost::shared_ptr<tvn::Handle> m_process;
    unsigned long m_hostPid = 0;
};

}  // namespace browser
