#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "browser/Chromium.h"
#include "browser/MacroPage.h"
#include "browser/Options.h"
#include "instance/ICommands.h"
#include "instance/InstanceWindow.h"

namespace browser
{

/// The own browser as an instance: drives a real browser and plays macros in it. Commands that take
/// their time run on threads of their own, so that the next one is read meanwhile: a play ends the
/// one before it, which its client has given up, and a display goes beside it. When the real
/// browser ends, so does this instance.
class OwnBrowser : public instance::ICommands
{
  public:
    /// `window` is told to close when the instance is to end, and must outlive this object.
    OwnBrowser(const instance::InstanceWindow& window, Options options);

    /// Begins to start the real browser. When there is none, the instance ends once it has refused
    /// its client, or at once when it `waitsForClient` no more.
    void Start(bool waitsForClient);

    void Attach(const std::function<void(bool accepted)>& decide) override;
    void Play(const instance::PlayRequest& request, const instance::Answer& answer) override;
    void Display(const std::wstring& text, const instance::Answer& answer) override;
    void End(const instance::Answer& answer) override;
    void Detached() override;

    /// Ends what plays and the real browser, some seconds at most.
    void Close() override;

  private:
    enum class State { kStarting, kReady, kGone };

    bool StartBrowser();
    void PrepareToPlay();
    State WaitForStart();
    bool IsGoneSoon();
    void SetState(State state);
    unsigned int StopPlay();
    bool BeginPlay(unsigned int number);
    void EndPlay();
    void RunPlay(const instance::PlayRequest& request, const instance::Answer& answer,
                 unsigned int number);
    void Show(const std::wstring& text);
    void OnMessage(const std::string& session, const std::string& text);
    void TakeScreenshot(const std::string& session, int question, const std::wstring& path,
                        bool fullPage);
    void LoadLibrary(const std::string& session, int question);
    void RunCommand(const std::string& session, int question, const std::string& method,
                    const Json& parameters);
    void RunWork(const std::function<void()>& work);

    const instance::InstanceWindow& m_window;
    const Options m_options;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::kStarting;
    unsigned int m_lastPlay = 0;  ///< number of the play that counts, and is to be answered
    bool m_isPlaying = false;
    int m_working = 0;                     ///< threads that run a command
    std::mutex m_playing;                  ///< held by the one play that has the macro page
    std::unique_ptr<Chromium> m_chromium;  // set before the state is kReady
    std::unique_ptr<MacroPage> m_macroPage;
};

}  // namespace browser
