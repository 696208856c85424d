#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

#include "basicslib/TimeBudget.h"
#include "browser/BrowserChoice.h"
#include "browser/BrowserProcess.h"
#include "browser/DevTools.h"
#include "browser/Pages.h"
#include "browser/ProfileFolder.h"

namespace browser
{

/// One running browser of the Chromium family with a profile, the pages in it, and a folder for
/// what they download. Used by several threads.
class Chromium
{
  public:
    /// What is heard of the browser, on the connection's thread: nothing here may wait.
    struct Listener
    {
        /// What a page's script tells the program over a binding.
        std::function<void(const std::string& session, const std::string& text)> onMessage;

        /// An event of the browser as a whole, "Browser.…"; the files of downloads have their paths
        /// on this system.
        std::function<void(const std::string& method, const Json& parameters)> onBrowserEvent;

        /// The browser or its last page has gone, whoever ended it.
        std::function<void()> onGone;
    };

    /// Starts the browser on the kept profile of this name, or on a fresh one, and waits until it
    /// can be driven, `timeout` milliseconds at most. Throws BrowserError.
    Chromium(const BrowserChoice& choice, const std::wstring& profile, DWORD timeout,
             Listener listener);

    ~Chromium() = default;
    Chromium(const Chromium&) = delete;
    Chromium& operator=(const Chromium&) = delete;

    /// Ends the browser, waits for it and removes its profile if that is a fresh one, which takes
    /// some seconds at most. Every call to the browser from then on fails.
    void End();

    /// A path of this system as the browser knows it, in UTF-8.
    std::string PathForBrowser(const std::wstring& path) const;

    DevTools& Tools() { return *m_tools; }
    Pages& OpenPages() { return *m_pages; }

  private:
    void Begin(DWORD timeout);
    void CheckVersion(const tvn::TimeBudget& budget);
    void CatchDownloads();
    void Take(const Json& event);

    const Listener m_listener;
    ProfileFolder m_profile;
    const std::wstring m_downloads;
    BrowserProcess m_process;
    const bool m_isVisible;
    std::unique_ptr<Pages> m_pages;  // before the connection, whose thread uses it
    std::unique_ptr<DevTools> m_tools;
};

}  // namespace browser
