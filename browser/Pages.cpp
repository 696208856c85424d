#include "browser/Pages.h"

#include <algorithm>
#include <utility>

#include "basicslib/Log.h"
#include "browser/BrowserError.h"

namespace browser
{
namespace
{

/// A filter for targets: pages, and nothing else.
Json PagesOnly()
{
    return Json::array({{{"type", "page"}}, {{"exclude", true}}});
}

}  // namespace

Pages::Pages(DevTools& tools, bool isVisible, std::function<void()> onGone)
    : m_tools(tools), m_isVisible(isVisible), m_onGone(std::move(onGone))
{}

void Pages::Find()
{
    const Json targets = m_tools.Call("", "Target.getTargets", {{"filter", PagesOnly()}});
    if (targets.at("targetInfos").empty()) {
        throw BrowserError("The browser shows no page.");
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const Json& first = targets["targetInfos"][0];
        m_visible = first.value("targetId", "");
        m_context = first.value("browserContextId", "");
    }
    // From here on, the pages that are there and those to come each get a session. A new one waits
    // for it: a dialog that a window shows before its session exists would be missed.
    m_tools.Call("", "Target.setAutoAttach",
                 {{"autoAttach", true},
                  {"waitForDebuggerOnStart", true},
                  {"flatten", true},
                  {"filter", PagesOnly()}});
}

void Pages::Take(const std::string& method, const std::string& session, const Json& parameters)
{
    if (method == "Target.attachedToTarget" && session.empty()) {
        Add(parameters.value("sessionId", ""), parameters.at("targetInfo"));
    } else if (method == "Target.detachedFromTarget") {
        Remove(parameters.value("sessionId", ""));
    } else if (method == "Page.javascriptDialogOpening" && !m_leavesDialogs) {
        AnswerDialog(session, parameters);
    } else if (method == "Fetch.requestPaused") {
        m_tools.Post(session, "Fetch.continueRequest", {{"requestId", parameters.at("requestId")}});
    } else if (method == "Fetch.authRequired") {
        // The site's own answer to a visitor without a password is shown.
        m_tools.Post(session, "Fetch.continueWithAuth",
                     {{"requestId", parameters.at("requestId")},
                      {"authChallengeResponse", {{"response", "CancelAuth"}}}});
    }
}

void Pages::Add(const std::string& session, const Json& target)
{
    m_tools.Post(session, "Page.enable");  // or dialogs would be shown to people
    if (!m_leavesDialogs) {
        CatchPasswords(session);
    }
    m_tools.Post(session, "Runtime.runIfWaitingForDebugger");
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (target.value("browserContextId", "") != m_context) {
        return;  // of a macro, and seen by nobody
    }
    Known page;
    page.target = target.value("targetId", "");
    page.session = session;
    page.number = ++m_opened;
    m_pages.push_back(page);
}

void Pages::Remove(const std::string& session)
{
    bool isLast = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = std::find_if(m_pages.begin(), m_pages.end(),
                                        [&](const Page& page) { return page.session == session; });
        if (found == m_pages.end()) {
            return;
        }
        const bool wasVisible = found->target == m_visible;
        m_pages.erase(found);
        isLast = m_pages.empty();
        if (wasVisible && !isLast) {
            m_visible = m_pages.back().target;
        }
    }
    if (isLast) {
        m_onGone();
    }
}

Pages::Page Pages::Visible() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Known& page : m_pages) {
        if (page.target == m_visible) {
            return {page.target, page.session};
        }
    }
    return {};
}

bool Pages::Use(const std::string& target)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool isThere = std::any_of(m_pages.begin(), m_pages.end(),
                                     [&](const Page& page) { return page.target == target; });
    m_visible = isThere ? target : m_visible;
    return isThere;
}

unsigned int Pages::Opened() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_opened;
}

void Pages::CloseSince(unsigned int opened)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Known& page : m_pages) {
        if (page.number > opened && page.target != m_visible) {
            m_tools.Post("", "Target.closeTarget", {{"targetId", page.target}});
        }
    }
}

void Pages::LeaveDialogs(bool leave)
{
    if (m_leavesDialogs.exchange(leave) == leave) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Known& page : m_pages) {
        if (leave) {
            m_tools.Post(page.session, "Fetch.disable");
        } else {
            CatchPasswords(page.session);
        }
    }
}

/// This makes the browser pause every request until this program lets it go on, each for less than
/// a millisecond, so it is not done where nobody would be asked for a password.
void Pages::CatchPasswords(const std::string& session)
{
    if (m_isVisible) {
        m_tools.Post(session, "Fetch.enable", {{"handleAuthRequests", true}});
    }
}

void Pages::AnswerDialog(const std::string& session, const Json& dialog)
{
    // Leaving a page is always confirmed; any other dialog is dismissed.
    const bool leaves = dialog.value("type", "") == "beforeunload";
    tvn::LogDebug("a dialog is %s: %.200s", leaves ? "accepted" : "dismissed",
                  dialog.value("message", "").c_str());
    m_tools.Post(session, "Page.handleJavaScriptDialog", {{"accept", leaves}});
}

}  // namespace browser
