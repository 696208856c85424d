#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "browser/DevTools.h"

namespace browser
{

/// The pages of one browser that people see, in the order in which they were opened, one of them
/// the visible one: the one that macros drive. Each gets a session when it opens. Dialogs that any
/// of them opens are answered here, so that none waits for a person. Used by several threads.
class Pages
{
  public:
    /// `tools` must outlive this object. `isVisible`: people can see the pages, and the browser
    /// would ask them for passwords of sites. `onGone` is called on the connection's thread when
    /// the last page has been closed, by whomever.
    Pages(DevTools& tools, bool isVisible, std::function<void()> onGone);

    /// Learns which pages there are. Throws BrowserError when there is none.
    void Find();

    /// Takes an event of the browser, on the connection's thread.
    void Take(const std::string& method, const std::string& session, const Json& parameters);

    struct Page
    {
        std::string target;
        std::string session;
    };

    /// The page that macros drive; when it is closed, the last one of those that are left. Empty
    /// when there is none.
    Page Visible() const;

    /// Makes the page with this target the visible one. False when there is no such page.
    bool Use(const std::string& target);

    /// Leaves dialogs and passwords to the macro that plays, which answers them itself, until this
    /// is taken back.
    void LeaveDialogs(bool leave);

    /// How many pages have been opened until now.
    unsigned int Opened() const;

    /// Closes the pages that were opened after the first `opened`, but not the visible one.
    void CloseSince(unsigned int opened);

  private:
    struct Known : Page
    {
        unsigned int number;
    };

    void Add(const std::string& session, const Json& target);
    void Remove(const std::string& session);
    void CatchPasswords(const std::string& session);
    void AnswerDialog(const std::string& session, const Json& dialog);

    DevTools& m_tools;
    const bool m_isVisible;
    const std::function<void()> m_onGone;
    mutable std::mutex m_mutex;
    std::vector<Known> m_pages;
    unsigned int m_opened = 0;
    std::string m_visible;  ///< its target
    std::string m_context;  ///< the one that they all belong to
    std::atomic<bool> m_leavesDialogs = false;
};

}  // namespace browser
