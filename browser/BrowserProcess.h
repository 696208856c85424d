#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>

#include "basicslib/Handle.h"
#include "browser/BrowserChoice.h"
#include "browser/Link.h"

namespace browser
{

/// The process of the real browser, reached by two pipes that nobody else can open. A Windows
/// program and all its own processes end when this object is destroyed at the latest, or when this
/// process ends, however it does. A program of the machine below Wine has no handle here: it ends
/// by itself with its pipes, and is found by its profile when it is ended by force. Used by one
/// thread.
class BrowserProcess
{
  public:
    /// `profile` is the folder for its data; nobody else may use it meanwhile.
    BrowserProcess(BrowserChoice choice, std::wstring profile);

    /// Starts the browser and gives the pipes to it, within `timeout` milliseconds. Throws
    /// BrowserError.
    Pipes Start(DWORD timeout);

    /// What to say about a browser that does not come up, `reason` and what it has printed
    /// included.
    std::string DescribeFailure(const std::string& reason) const;

    bool IsOnHost() const { return m_isOnHost; }

    /// Waits up to `timeout` milliseconds for the end of all its processes. True when they have
    /// ended.
    bool WaitForEnd(DWORD timeout) const;

    /// Ends all its processes by force and waits for that as WaitForEnd does. Of a program of the
    /// machine below, the profile goes with them if `removesProfile`.
    bool EndByForce(DWORD timeout, bool removesProfile);

  private:
    Pipes StartOnWindows();
    Pipes StartOnHost(DWORD timeout);
    bool HasEnded() const;

    const BrowserChoice m_choice;
    const std::wstring m_profile;
    const bool m_isOnHost;
    const tvn::Handle m_job;
    boost::shared_ptr<tvn::Handle> m_process;
};

}  // namespace browser
