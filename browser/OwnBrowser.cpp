#include "browser/OwnBrowser.h"

#include <utility>

#include "basicslib/Log.h"
#include "basicslib/ScopeExit.h"
#include "basicslib/StatusCode.h"
#include "browser/BrowserChoice.h"
#include "browser/BrowserError.h"
#include "browser/MacroSource.h"
#include "browser/ProfileFolder.h"
#include "browser/Resources.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

constexpr DWORD kStartTime = 25000;
constexpr DWORD kReplyTime = 2000;
constexpr DWORD kDisplayTime = 5000;
constexpr DWORD kGoneTime = 300;
constexpr int kDisplayed = 5000;

}  // namespace

OwnBrowser::OwnBrowser(const instance::InstanceWindow& window, Options options)
    : m_window(window), m_options(std::move(options))
{}

void OwnBrowser::Start(bool waitsForClient)
{
    m_workers.Run([=, this] {
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
        m_chromium = std::make_unique<Chromium>(ChooseBrowser(m_options), m_options.profile,
                                                kStartTime, NewListener());
        m_macroPage = std::make_unique<MacroPage>(m_chromium->Tools(), m_chromium->OpenPages());
        PrepareToPlay();
        ProfileFolder::RemoveAbandoned();
        return true;
    } catch (const std::exception& error) {
        tvn::LogError("%s", error.what());
        return false;
    }
}

Chromium::Listener OwnBrowser::NewListener()
{
    // Before the first play begins, no page waits for messages and events.
    return {[this](const std::string& session, const std::string& text) {
                if (m_canPlay) {
                    m_questions->Take(session, text);
                }
            },
            [this](const std::string& method, const Json& parameters) {
                if (m_canPlay) {
                    m_macroPage->Tell(method, parameters);
                }
            },
            [this] {
                SetState(State::kGone);
                m_window.PostClose();
            }};
}

void OwnBrowser::PrepareToPlay()
{
    m_questions = std::make_unique<MacroQuestions>(*m_chromium, *m_macroPage, m_workers);
    m_canPlay = true;
    // The page of the macros takes a third of a start. Whoever attaches need not wait for it, and
    // the first play finds it open or opens it itself, and says what is wrong if it cannot.
    const std::lock_guard<std::mutex> playing(m_playing);
    SetState(State::kReady);
    try {
        m_macroPage->Open();
    } catch (const std::exception& error) {
        tvn::LogDebug("the page that runs macros does not open: %s", error.what());
    }
}

void OwnBrowser::Close()
{
    WaitForStart();
    if (m_chromium) {
        m_chromium->End();
    }
    m_workers.WaitForAll(kReplyTime);
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
    // When a browser is closed, its pages go one after the other.
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(kGoneTime),
                              [this] { return m_state == State::kGone; });
}

void OwnBrowser::Attach(const std::function<void(bool accepted)>& decide)
{
    m_workers.Run([=, this] {
        const bool ready = WaitForStart() == State::kReady;
        decide(ready);
        if (!ready) {
            m_window.PostClose();
        }
    });
}

void OwnBrowser::Play(const instance::PlayRequest& request, const instance::Answer& answer)
{
    // The client waits for one play at a time: it has given up whatever still plays.
    const unsigned int number = StopPlay();
    m_workers.Run([=, this] {
        const PlayReply reply = RunPlay(request, number);
        answer.GiveAndWait(reply.status, reply.text);
    });
}

PlayReply OwnBrowser::RunPlay(const instance::PlayRequest& request, unsigned int number)
{
    const std::lock_guard<std::mutex> playing(m_playing);
    const auto isWanted = [=, this] {
        return m_play.Begin(number);
    };
    if (!isWanted()) {
        return {tvn::sNotCompleted, L""};
    }
    const tvn::ScopeExit end([this] { m_play.End(); });
    try {
        if (request.hasBlankInName) {
            throw MacroError(
                "A variable's name holds a blank, which tvnSet cannot send; use another name.");
        }
        const std::string source = MacroSource(request.macro);
        const MacroPage::Outcome outcome =
            m_macroPage->Play(source, request.settings, m_options.trace, isWanted);
        return {outcome.failed ? tvn::sMacroError : tvn::sOk, ReplyText(outcome)};
    } catch (const MacroError& error) {
        return {tvn::sMacroError, ReplyText(error)};
    } catch (const CommandError& error) {
        m_macroPage->Abandon();
        if (IsGoneSoon()) {
            return {tvn::sFail, ReplyText(error)};
        }
        return {isWanted() ? tvn::sMacroError : tvn::sNotCompleted, ReplyText(error)};
    } catch (const std::exception& error) {
        return {tvn::sFail, ReplyText(error)};
    }
}

unsigned int OwnBrowser::StopPlay()
{
    bool wasPlaying = false;
    const unsigned int number = m_play.Next(wasPlaying);
    if (wasPlaying) {
        m_macroPage->Abandon();
    }
    return number;
}

void OwnBrowser::Display(const std::wstring& text, const instance::Answer& answer)
{
    m_workers.Run([=, this] {
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
    const std::string session = m_chromium->OpenPages().Visible().session;
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

}  // namespace browser
