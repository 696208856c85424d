#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "browser/BrowserChoice.h"
#include "browser/BrowserProcess.h"
#include "browser/DevTools.h"
#include "browser/ProfileFolder.h"

namespace browser
{

/// One running browser of the Chromium family with a profile of its own, and the page in it that
/// people see. Dialogs that any of its pages opens are answered here, so that none of them waits
/// for somebody. Used by several threads.
class Chromium
{
  public:
    /// What a page's script tells the program over a binding: the session and the text.
    using OnMessage = std::function<void(const std::string& session, const std::string& text)>;

    /// Hears events of the browser itself, which belong to no page.
    using OnBrowserEvent = std::function<void(const std::string& method, const Json& parameters)>;

    /// Starts the browser and waits until it can be driven, `timeout` milliseconds at most. The
    /// functions are called on the connection's thread and must not wait; `onGone` when the browser
    /// or its visible page has gone, whoever ended it. Throws BrowserError.
    Chromium(const BrowserChoice& choice, DWORD timeout, OnMessage onMessage,
             OnBrowserEvent onBrowserEvent, std::function<void()> onGone);

    ~Chromium() = default;
    Chromium(const Chromium&) = delete;
    Chromium& operator=(const Chromium&) = delete;

    /// Ends the browser, waits for it and removes its profile, some seconds at most. What is asked
    /// of it from then on fails.
    void End();

    /// Ends browsers whose instances were ended by force, and removes their profiles. Takes its
    /// time only where there are some.
    static void EndAbandoned();

    /// Leaves dialogs to the macro that plays, which answers them itself, until this is taken back.
    void LeaveDialogs(bool leave) { m_leavesDialogs = leave; }

    DevTools& Tools() { return *m_tools; }

    const std::string& VisibleTarget() const { return m_visibleTarget; }
    const std::string& VisibleSession() const { return m_visibleSession; }

  private:
    void Begin(DWORD timeout);
    void FindVisiblePage();
    void Take(const Json& event);
    static void LogConsole(const Json& call);
    void AnswerDialog(const std::string& session, const Json& dialog);

    OnMessage m_onMessage;
    OnBrowserEvent m_onBrowserEvent;
    std::function<void()> m_onGone;
    ProfileFolder m_profile;
    BrowserProcess m_process;
    std::mutex m_mutex;
    std::string m_visibleTarget;
    std::string m_visibleSession;
    std::map<std::string, std::string> m_sessions;  ///< of each page's target
    std::atomic<bool> m_leavesDialogs{false};
    std::unique_ptr<DevTools> m_tools;
};

}  // namespace browser
