#include "browser/Chromium.h"

#include <utility>

#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "browser/BrowserError.h"

namespace browser
{
namespace
{

constexpr DWORD kEndTime = 3000;
constexpr DWORD kRemoveTime = 1500;
constexpr DWORD kEndPause = 500;

/// Only what shows a page, with all that is below it.
Json PagesOnly()
{
    return Json::array({{{"type", "page"}}, {{"exclude", true}}});
}

}  // namespace

Chromium::Chromium(const BrowserChoice& choice, DWORD timeout, OnMessage onMessage,
                   OnBrowserEvent onBrowserEvent, std::function<void()> onGone)
    : m_onMessage(std::move(onMessage)),
      m_onBrowserEvent(std::move(onBrowserEvent)),
      m_onGone(std::move(onGone)),
      m_process(choice, m_profile.Path())
{
    try {
        Begin(timeout);
    } catch (const std::exception&) {
        End();
        throw;
    }
}

void Chromium::Begin(DWORD timeout)
{
    const tvn::TimeBudget budget(timeout);
    const BrowserProcess::Endpoint endpoint = m_process.WaitForEndpoint(budget.Remaining());
    m_tools = std::make_unique<DevTools>(
        endpoint.port, endpoint.path, budget.Remaining(),
        [this](const Json& event) { Take(event); }, m_onGone);
    FindVisiblePage();
}

void Chromium::End()
{
    if (m_tools) {
        m_tools->Post("", "Browser.close");
    }
    if (!m_process.WaitForEnd(kEndTime)) {
        tvn::LogError("The browser does not end when it is told to");
    }
    m_profile.Remove(kRemoveTime);
}

void Chromium::EndAbandoned()
{
    // Windows ends them with their instance; a program of the machine below Wine it does not know.
    ProfileFolder::RemoveAbandoned([](const std::wstring& profile) {
        const BrowserProcess::Endpoint endpoint = BrowserProcess::ReadEndpoint(profile);
        if (endpoint.port == 0) {
            return;
        }
        try {
            DevTools tools(
                endpoint.port, endpoint.path, kEndTime, [](const Json&) {}, [] {});
            tools.Call("", "Browser.close");
        } catch (const BrowserError&) {
            // it has ended already
        }
        Sleep(kEndPause);
    });
}

void Chromium::FindVisiblePage()
{
    const Json processes = m_tools->Call("", "SystemInfo.getProcessInfo");
    for (const Json& process : processes.at("processInfo")) {
        if (process.value("type", "") == "browser") {
            m_process.SetHostPid(process.value("id", 0UL));
        }
    }
    const Json targets = m_tools->Call("", "Target.getTargets", {{"filter", PagesOnly()}});
    if (targets.at("targetInfos").empty()) {
        throw BrowserError("The browser shows no page.");
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_visibleTarget = targets["targetInfos"][0].value("targetId", "");
    }
    // From here on, the pages that are there and those to come each get a session. A new one waits
    // for it: a window could show a dialog before, which would never be heard of.
    m_tools->Call("", "Target.setAutoAttach",
                  {{"autoAttach", true},
                   {"waitForDebuggerOnStart", true},
                   {"flatten", true},
                   {"filter", PagesOnly()}});
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_visibleSession = m_sessions[m_visibleTarget];
}

void Chromium::Take(const Json& event)
{
    const std::string method = event.value("method", "");
    const std::string session = event.value("sessionId", "");
    const Json parameters = event.value("params", Json::object());
    if (method == "Target.attachedToTarget" && session.empty()) {
        const std::string own = parameters.value("sessionId", "");
        m_tools->Post(own, "Page.enable");  // or dialogs would be shown to people
        m_tools->Post(own, "Runtime.runIfWaitingForDebugger");
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_sessions[parameters.at("targetInfo").value("targetId", "")] = own;
    } else if (method == "Target.detachedFromTarget") {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (parameters.value("sessionId", "") == m_visibleSession) {
            m_onGone();
        }
    } else if (method == "Page.javascriptDialogOpening" && !m_leavesDialogs) {
        AnswerDialog(session, parameters);
    } else if (method == "Runtime.bindingCalled") {
        m_onMessage(session, parameters.value("payload", ""));
    } else if (method == "Runtime.consoleAPICalled") {
        LogConsole(parameters);  // of the macro page: no other session here enables it
    } else if (method.starts_with("Browser.")) {
        m_onBrowserEvent(method, parameters);
    }
}

void Chromium::LogConsole(const Json& call)
{
    std::string line;
    for (const Json& argument : call.at("args")) {
        const Json value = argument.value("value", Json());
        line += line.empty() ? "" : " ";
        line += value.is_string() ? value.get<std::string>()
                                  : argument.value("description", value.dump(-1, ' ', true));
    }
    tvn::LogDebug("macro: %s", line.c_str());
}

void Chromium::AnswerDialog(const std::string& session, const Json& dialog)
{
    // A page is always let go; whatever else it asks is not agreed to.
    const bool leaves = dialog.value("type", "") == "beforeunload";
    tvn::LogDebug("a dialog is %s: %.200s", leaves ? "accepted" : "dismissed",
                  dialog.value("message", "").c_str());
    m_tools->Post(session, "Page.handleJavaScriptDialog", {{"accept", leaves}});
}

}  // namespace browser
