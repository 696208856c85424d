#include "browser/OwnBrowser.h"

#include <utility>

#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/StatusCode.h"
#include "browser/BrowserChoice.h"
#include "browser/BrowserError.h"
#include "browser/MacroSource.h"
#include "browser/Resources.h"
#include "browser/Screenshot.h"
#include "browser/Utf8.h"
#include "instance/RunApart.h"

namespace browser
{
namespace
{

constexpr DWORD kStartTime = 25000;
constexpr DWORD kReplyTime = 2000;
constexpr DWORD kDisplayTime = 5000;
constexpr DWORD kGoneTime = 300;
constexpr int kDisplayed = 5000;

/// What a play is answered with: "message (line N)", the mark, and the pieces.
std::wstring ReplyText(const MacroPage::Outcome& outcome)
{
    std::wstring text;
    if (outcome.failed) {
        text = FromUtf8(outcome.error);
        if (outcome.line > 0) {
            text += L" (line " + std::to_wstring(outcome.line) + L")";
        }
        text += tvn::kErrorSeparator;
    }
    bool first = true;
    for (const std::string& piece : outcome.pieces) {
        text += first ? std::wstring_view() : tvn::kExtractSeparator;
        text += FromUtf8(piece);
        first = false;
    }
    return text;
}

/// An error that comes from outside the macro.
std::wstring ErrorText(const std::exception& error)
{
    return FromUtf8(error.what()) + std::wstring(tvn::kErrorSeparator);
}

}  // namespace

OwnBrowser::OwnBrowser(const instance::InstanceWindow& window, Options options)
    : m_window(window), m_options(std::move(options))
{}

void OwnBrowser::Start(bool waitsForClient)
{
    RunWork([=, this] {
        if (!StartBrowser()) {
            SetState(State::kGone);
            if (!waitsForClient) {
                m_window.PostClose();
            }
        }
    });
}

bool OwnBrowser::StartBrowser()
{
    try {
        m_chromium = std::make_unique<Chromium>(
            ChooseBrowser(m_options), kStartTime,
            [this](const std::string& session, const std::string& text) {
                OnMessage(session, text);
            },
            [this](const std::string& method, const Json& parameters) {
                if (m_macroPage) {
                    m_macroPage->Tell(method, parameters);
                }
            },
            [this] {
                SetState(State::kGone);
                m_window.PostClose();
            });
        m_macroPage = std::make_unique<MacroPage>(m_chromium->Tools(), m_chromium->VisibleTarget());
        PrepareToPlay();
        Chromium::EndAbandoned();
        return true;
    } catch (const std::exception& error) {
        tvn::LogError("%s", error.what());
        return false;
    }
}

void OwnBrowser::PrepareToPlay()
{
    // The page of the macros takes a third of a start. Whoever attaches need not wait for it, and
    // the first play finds it open or opens it itself, and says what is wrong if it cannot.
    const std::lock_guard<std::mutex> playing(m_playing);
    SetState(State::kReady);
    try {
        m_macroPage->Open();
    } catch (const std::exception& error) {
        tvn::LogDebug("the page of the macros does not open: %s", error.what());
    }
}

void OwnBrowser::Close()
{
    WaitForStart();
    if (m_chromium) {
        m_chromium->End();
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::milliseconds(kReplyTime),
                       [this] { return m_working == 0; });
}

void OwnBrowser::SetState(State state)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state != State::kGone) {
        m_state = state;
        m_changed.notify_all();
    }
}

OwnBrowser::State OwnBrowser::WaitForStart()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_state != State::kStarting; });
    return m_state;
}

bool OwnBrowser::IsGoneSoon()
{
    // Its pages go one after the other when a browser is closed.
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(kGoneTime),
                              [this] { return m_state == State::kGone; });
}

void OwnBrowser::Attach(const std::function<void(bool accepted)>& decide)
{
    RunWork([=, this] {
        const bool ready = WaitForStart() == State::kReady;
        decide(ready);
        if (!ready) {
            m_window.PostClose();
        }
    });
}

void OwnBrowser::Play(const instance::PlayRequest& request, const instance::Answer& answer)
{
    // Its client waits for one play at a time: it has given up whatever still plays.
    const unsigned int number = StopPlay();
    RunWork([=, this] {
        RunPlay(request, answer, number);
        answer.connection->Flush(kReplyTime);
    });
}

void OwnBrowser::RunPlay(const instance::PlayRequest& request, const instance::Answer& answer,
                         unsigned int number)
{
    const std::lock_guard<std::mutex> playing(m_playing);
    const auto isWanted = [=, this] {
        return BeginPlay(number);
    };
    if (!isWanted()) {
        answer.Give(tvn::sNotCompleted);
        return;
    }
    try {
        const std::string source = MacroSource(request.macro);
        const MacroPage::Outcome outcome =
            m_macroPage->Play(source, request.settings, m_options.trace, isWanted);
        answer.Give(outcome.failed ? tvn::sMacroError : tvn::sOk, ReplyText(outcome));
    } catch (const MacroError& error) {
        answer.Give(tvn::sMacroError, ErrorText(error));
    } catch (const CommandError& error) {
        m_macroPage->Abandon();
        if (IsGoneSoon()) {
            answer.Give(tvn::sFail, ErrorText(error));
        } else {
            answer.Give(isWanted() ? tvn::sMacroError : tvn::sNotCompleted, ErrorText(error));
        }
    } catch (const std::exception& error) {
        answer.Give(tvn::sFail, ErrorText(error));
    }
    EndPlay();
}

unsigned int OwnBrowser::StopPlay()
{
    unsigned int number = 0;
    bool isPlaying = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        number = ++m_lastPlay;
        isPlaying = m_isPlaying;
    }
    if (isPlaying) {
        m_macroPage->Abandon();
    }
    return number;
}

bool OwnBrowser::BeginPlay(unsigned int number)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isPlaying = number == m_lastPlay;
    return m_isPlaying;
}

void OwnBrowser::EndPlay()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isPlaying = false;
}

void OwnBrowser::Display(const std::wstring& text, const instance::Answer& answer)
{
    RunWork([=, this] {
        try {
            Show(text);
            answer.Give(tvn::sOk);
        } catch (const std::exception& error) {
            tvn::LogError("The text is not displayed. %s", error.what());
            answer.Give(tvn::sFail);
        }
    });
}

void OwnBrowser::Show(const std::wstring& text)
{
    DevTools& tools = m_chromium->Tools();
    const std::string& session = m_chromium->VisibleSession();
    const Json tree = tools.Call(session, "Page.getFrameTree", {}, kDisplayTime);
    const Json world = tools.Call(
        session, "Page.createIsolatedWorld",
        {{"frameId", tree.at("frameTree").at("frame").at("id")}, {"worldName", "talvern display"}},
        kDisplayTime);
    const Json arguments = {{{"value", ToUtf8(text)}}, {{"value", kDisplayed}}};
    tools.Call(session, "Runtime.callFunctionOn",
               {{"functionDeclaration", ReadScript(Script::kDisplay)},
                {"executionContextId", world.at("executionContextId")},
                {"arguments", arguments}},
               kDisplayTime);
}

void OwnBrowser::End(const instance::Answer& answer)
{
    answer.Give(tvn::sOk);
    answer.connection->Flush(kReplyTime);
    m_window.PostClose();
}

void OwnBrowser::Detached()
{
    StopPlay();
}

void OwnBrowser::OnMessage(const std::string& session, const std::string& text)
{
    const Json message = Json::parse(text, nullptr, false);
    if (!message.is_object()) {
        return;
    }
    const std::string what = message.value("what", "");
    if (what == "trace") {
        tvn::LogDebug("macro, %s", message.value("text", "").c_str());
    } else if (what == "screenshot") {
        RunWork([=, this] {
            TakeScreenshot(session, message.value("id", 0), FromUtf8(message.value("path", "")),
                           message.value("fullPage", false));
        });
    } else if (what == "library") {
        RunWork([=, this] { LoadLibrary(session, message.value("id", 0)); });
    } else if (what == "command") {
        RunWork([=, this] {
            RunCommand(session, message.value("id", 0), message.value("method", ""),
                       message.value("params", Json::object()));
        });
    } else if (what == "dialogs") {
        m_chromium->LeaveDialogs(message.value("macro", false));
    }
}

void OwnBrowser::LoadLibrary(const std::string& session, int question)
{
    try {
        const std::string source = ReadScript(Script::kPuppeteer);
        if (source.empty()) {
            throw BrowserError("This talvern.exe was built without the library puppeteer-core.");
        }
        m_macroPage->Load(session, source);
        m_macroPage->Answer(session, question, "", "");
    } catch (const std::exception& error) {
        m_macroPage->Answer(session, question, error.what(), "");
    }
}

void OwnBrowser::RunCommand(const std::string& session, int question, const std::string& method,
                            const Json& parameters)
{
    try {
        // The browser is not the macro's to end: its client ends it.
        const bool ends = method == "Browser.close" || method.starts_with("Browser.crash");
        const Json result =
            ends ? Json::object() : m_chromium->Tools().Call("", method, parameters);
        m_macroPage->Answer(session, question, "", result.dump());
    } catch (const std::exception& error) {
        m_macroPage->Answer(session, question, error.what(), "");
    }
}

void OwnBrowser::TakeScreenshot(const std::string& session, int question, const std::wstring& path,
                                bool fullPage)
{
    try {
        const std::wstring file =
            SaveScreenshot(m_chromium->Tools(), m_chromium->VisibleSession(), path, fullPage);
        m_macroPage->Answer(session, question, "", ToUtf8(file));
    } catch (const std::exception& error) {
        m_macroPage->Answer(session, question, error.what(), "");
    }
}

void OwnBrowser::RunWork(const std::function<void()>& work)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_working;
    }
    const auto end = [this] {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_working;
        m_changed.notify_all();
    };
    if (!instance::RunApart([=] {
            work();
            end();
        })) {
        tvn::LogError("There is no thread for a command");
        end();
    }
}

}  // namespace browser
