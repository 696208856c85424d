#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <memory>
#include <string>

#include "basicslib/Handle.h"
#include "browser/BrowserChoice.h"
#include "browser/Link.h"

namespace browser
{

/// The process of the real browser. A Windows program is reached by two pipes that nobody else
/// has. It and all its own processes end when this object is destroyed at the latest, or when this
/// process ends, however it does. A program of the machine below Wine inherits no pipes and has no
/// handle here: it is reached by a loopback port, and found by its profile when it is ended. Used
/// by one thread.
class BrowserProcess
{
  public:
    /// `profile` is the folder for its data; nobody else may use it meanwhile.
    BrowserProcess(BrowserChoice choice, std::wstring profile);

    /// Starts the browser and connects to it within `timeout` milliseconds. Throws BrowserError.
    std::unique_ptr<Link> Start(DWORD timeout, const Link::OnMessage& onMessage,
                                const Link::OnEnd& onEnd);

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
    void StartWithPipes(HANDLE input, HANDLE output);
    std::unique_ptr<Link> StartOnHost(DWORD timeout, const Link::OnMessage& onMessage,
                                      const Link::OnEnd& onEnd);
    bool HasEnded() const;

    const BrowserChoice m_choice;
    const std::wstring m_profile;
    const bool m_isOnHost;
    const tvn::Handle m_job;
    boost::shared_ptr<tvn::Handle> m_process;
};

}  // namespace browser
