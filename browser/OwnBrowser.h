#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "browser/Chromium.h"
#include "browser/CurrentPlay.h"
#include "browser/MacroPage.h"
#include "browser/MacroQuestions.h"
#include "browser/Options.h"
#include "browser/PlayReply.h"
#include "browser/Workers.h"
#include "instance/ICommands.h"
#include "instance/InstanceWindow.h"

namespace browser
{

/// Talvern's own browser as an instance: drives a real browser and plays macros in it. Commands
/// that take long run on threads of their own, so that the next one is read meanwhile: a play ends
/// the one before it, which its client has given up; a display runs at the same time as a play.
/// When the real browser ends, so does this instance.
class OwnBrowser : public instance::ICommands
{
  public:
    /// `window` is told to close when the instance is to end, and must outlive this object.
    OwnBrowser(const instance::InstanceWindow& window, Options options);

    /// Begins to start the real browser. When there is none, the instance ends once it has refused
    /// its client, or at once when `waitsForClient` is false.
    void Start(bool waitsForClient);

    void Attach(const std::function<void(bool accepted)>& decide) override;
    void Play(const instance::PlayRequest& request, const instance::Answer& answer) override;
    void Display(const std::wstring& text, const instance::Answer& answer) override;
    void End(const instance::Answer& answer) override;
    void Detached() override;

    /// Ends the play that runs and the real browser, within some seconds.
    void Close() override;

  private:
    enum class State { kStarting, kReady, kGone };

    bool StartBrowser();
    void PrepareToPlay();
    State WaitForStart();
    bool IsGoneSoon();
    void SetState(State state);
    Chromium::Listener NewListener();
    unsigned int StopPlay();
    PlayReply RunPlay(const instance::PlayRequest& request, unsigned int number);
    void Show(const std::wstring& text);

    const instance::InstanceWindow& m_window;
    const Options m_options;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::kStarting;
    Workers m_workers;
    CurrentPlay m_play;                      ///< the one that is to be answered
    std::mutex m_playing;                    ///< held by the one play that has the macro page
    std::unique_ptr<MacroPage> m_macroPage;  // before the browser, whose thread uses both
    std::unique_ptr<MacroQuestions> m_questions;
    std::unique_ptr<Chromium> m_chromium;
    std::atomic<bool> m_canPlay = false;  ///< all three are there
};

}  // namespace browser
