#include "browser/Chromium.h"

#include <cstdlib>
#include <utility>
#include <vector>

#include "basicslib/Log.h"
#include "browser/BrowserError.h"
#include "browser/HostSystem.h"
#include "browser/OutputFolder.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

constexpr DWORD kCloseTime = 3000;
constexpr DWORD kForceTime = 3000;
constexpr DWORD kRemoveTime = 1500;

/// The first that has pages which are open and shown to nobody.
constexpr long kOldestVersion = 138;

void LogConsole(const Json& call)
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

}  // namespace

Chromium::Chromium(const BrowserChoice& choice, const std::wstring& profile, DWORD timeout,
                   Listener listener)
    : m_listener(std::move(listener)),
      m_profile(profile),
      m_downloads(NewDownloadFolder()),
      m_process(choice, m_profile.Path()),
      m_isVisible(choice.arguments.find(L"--headless") == std::wstring::npos)
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
    if (m_profile.IsKept() && m_process.IsOnHost()) {
        m_process.EndByForce(kForceTime, false);  // which an instance may have left behind
    }
    m_tools =
        std::make_unique<DevTools>([this](const Json& event) { Take(event); }, m_listener.onGone);
    m_pages = std::make_unique<Pages>(*m_tools, m_isVisible, m_listener.onGone);
    m_tools->Connect(m_process.Start(budget.Remaining()));
    CheckVersion(budget);
    m_pages->Find();
    CatchDownloads();
}

void Chromium::CheckVersion(const tvn::TimeBudget& budget)
{
    std::string product;  // such as "Chrome/156.0.8078.79"
    try {
        product =
            m_tools->Call("", "Browser.getVersion", {}, budget.Remaining()).value("product", "");
    } catch (const BrowserError& error) {
        throw BrowserError(m_process.DescribeFailure(error.what()));
    }
    const std::size_t slash = product.find('/');
    const long version =
        slash == std::string::npos ? 0 : std::strtol(product.c_str() + slash + 1, nullptr, 10);
    if (version < kOldestVersion) {
        throw BrowserError("The browser is too old: " + product + ". The oldest that works is " +
                           std::to_string(kOldestVersion) + ".");
    }
}

void Chromium::CatchDownloads()
{
    m_tools->Call("", "Browser.setDownloadBehavior",
                  {{"behavior", "allow"},
                   {"downloadPath", PathForBrowser(m_downloads)},
                   {"eventsEnabled", true}});
}

std::string Chromium::PathForBrowser(const std::wstring& path) const
{
    return ToUtf8(m_process.IsOnHost() ? HostPath(path) : path);
}

void Chromium::End()
{
    // A kept profile is written when the browser closes; a fresh one is not worth the wait.
    if (m_tools && m_profile.IsKept()) {
        m_tools->Post("", "Browser.close");
        m_process.WaitForEnd(kCloseTime);
    }
    if (!m_process.EndByForce(kForceTime, !m_profile.IsKept())) {
        tvn::LogError("The browser does not end when it is told to");
    }
    if (!m_process.IsOnHost() && !m_profile.Remove(kRemoveTime)) {
        tvn::LogError("The profile folder %S cannot be removed", m_profile.Path().c_str());
    }
    RemoveDirectoryW(m_downloads.c_str());  // if nothing was downloaded
}

void Chromium::Take(const Json& event)
{
    const std::string method = event.value("method", "");
    const std::string session = event.value("sessionId", "");
    Json parameters = event.value("params", Json::object());
    if (method == "Runtime.bindingCalled") {
        m_listener.onMessage(session, parameters.value("payload", ""));
    } else if (method == "Runtime.consoleAPICalled") {
        LogConsole(parameters);  // of the macro page: no other session here enables it
    } else if (method.rfind("Browser.", 0) == 0) {
        const std::string file = parameters.value("filePath", "");
        if (!file.empty()) {
            parameters["filePath"] =
                ToUtf8(m_downloads) + "\\" + file.substr(file.find_last_of("/\\") + 1);
        }
        m_listener.onBrowserEvent(method, parameters);
    } else {
        m_pages->Take(method, session, parameters);
    }
}

}  // namespace browser
