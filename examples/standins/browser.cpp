// A stand-in for a browser with the Talvern add-on, and the shortest example of an instance that is
// built on instance/. The same program serves as talvern.exe, iexplore.exe and firefox.exe.
//
// It plays no macros: it answers a "PLAY" with the macro and the variables it was given, as extract
// pieces.
//
// What it is to do wrong is told by "-standin=WORD" on its command line or by the environment
// variable TALVERN_STANDIN, for what happens before and around the attach:
//
//     end            ends at once                 no-callback    never calls back
//     silent-callback calls back, sends nothing   closed-callback calls back, closes
//     no-pipe        serves no command pipe       refuse         refuses to be attached
//     no-answer      answers no command           stay           does not end when told to
//
// and by a macro of lines that begin with "!", for a play:
//
//     !status N      the reply's status           !reply TEXT    the reply's text
//     !wait MS       answers later                !silent        no reply
//     !hang          reads no further command
//     !close         closes the pipe              !end           ends the process
//     !displayed     the text displayed last      !commandline   the process's command line

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "instance/ICommands.h"
#include "instance/InstanceArguments.h"
#include "instance/InstanceCallback.h"
#include "instance/InstanceWindow.h"
#include "instance/RunInstance.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"

namespace
{

constexpr DWORD kCallbackTime = 10000;
constexpr DWORD kReplyTime = 10000;

/// The word that tells what to do wrong, empty for nothing.
std::wstring Misbehaviour()
{
    constexpr std::wstring_view kSwitch = L"-standin=";
    const std::wstring line = GetCommandLineW();
    const std::size_t found = line.find(kSwitch);
    if (found != std::wstring::npos) {
        const std::size_t start = found + kSwitch.size();
        return line.substr(start, line.find(L' ', start) - start);
    }
    wchar_t variable[64] = L"";
    return GetEnvironmentVariableW(L"TALVERN_STANDIN", variable, 64) < 64 ? variable : L"";
}

class StandIn : public instance::ICommands
{
  public:
    StandIn(const instance::InstanceWindow& window, std::wstring misbehaviour)
        : m_window(window), m_misbehaviour(std::move(misbehaviour))
    {}

    void Attach(const std::function<void(bool accepted)>& decide) override
    {
        if (m_misbehaviour != L"no-answer") {
            decide(m_misbehaviour != L"refuse");
        }
    }

    void Play(const instance::PlayRequest& request, const instance::Answer& answer) override
    {
        Reply reply;
        if (request.macro.starts_with(L'!')) {
            std::wistringstream lines(request.macro);
            for (std::wstring line; std::getline(lines, line);) {
                const std::wstring word = line.substr(0, line.find(L' '));
                Direct(word, line.substr(std::min(word.size() + 1, line.size())), answer, reply);
            }
        } else {
            reply.text = request.macro;
            for (const auto& setting : request.settings) {
                reply.text += tvn::kExtractSeparator;
                reply.text += setting.isVariable ? L"" : L"-";
                reply.text += setting.name + L"=" + setting.value;
            }
        }
        if (reply.wanted) {
            answer.Give(reply.status, reply.text);
        }
    }

    void Display(const std::wstring& text, const instance::Answer& answer) override
    {
        m_displayed = text;
        answer.Give(tvn::sOk);
    }

    void End(const instance::Answer& answer) override
    {
        answer.Give(tvn::sOk);
        if (m_misbehaviour != L"stay") {
            m_ending = true;
            answer.connection->Flush(kReplyTime);
            answer.connection->Close();
        }
    }

    void Detached() override
    {
        if (m_ending) {
            m_window.PostClose();
        }
    }

    void Close() override {}

  private:
    /// What a play is answered with, if at all.
    struct Reply
    {
        int status = tvn::sOk;
        std::wstring text;
        bool wanted = true;
    };

    void Direct(const std::wstring& word, const std::wstring& value, const instance::Answer& answer,
                Reply& reply)
    {
        if (word == L"!status") {
            reply.status = _wtoi(value.c_str());
        } else if (word == L"!reply") {
            reply.text = value;
        } else if (word == L"!wait") {
            Sleep(static_cast<DWORD>(_wtoi(value.c_str())));
        } else if (word == L"!silent") {
            reply.wanted = false;
        } else if (word == L"!hang") {
            Sleep(INFINITE);
        } else if (word == L"!close") {
            reply.wanted = false;
            answer.connection->Close();
        } else if (word == L"!end") {
            ExitProcess(1);
        } else if (word == L"!displayed") {
            reply.text = m_displayed;
        } else if (word == L"!commandline") {
            reply.text = GetCommandLineW();
        }
    }

    const instance::InstanceWindow& m_window;
    std::wstring m_misbehaviour;
    std::atomic<bool> m_ending{false};
    std::wstring m_displayed;
};

/// What is to go wrong with the callback. Nobody is called back any more then.
void CallBackWrongly(std::wstring& pipeUuid, const std::wstring& misbehaviour)
{
    const bool silent = misbehaviour == L"silent-callback";
    const bool closed = misbehaviour == L"closed-callback";
    if (silent || closed) {
        tvn::RemotePipeClient client(tvn::CallbackPipeName(tvn::ToComString(pipeUuid)));
        const auto pipe = client.OpenPipe(kCallbackTime);
        Sleep(silent ? INFINITE : 0);
    }
    if (closed || misbehaviour == L"no-callback") {
        pipeUuid.clear();
    }
}

}  // namespace

int WINAPI WinMain(HINSTANCE /*module*/, HINSTANCE /*previous*/, LPSTR /*arguments*/, int /*show*/)
{
    const std::wstring misbehaviour = Misbehaviour();
    if (misbehaviour == L"end") {
        return 1;
    }
    try {
        instance::InstanceArguments arguments(GetCommandLineW());
        const instance::InstanceWindow window(&instance::InstanceWindow::Quit);
        CallBackWrongly(arguments.pipeUuid, misbehaviour);
        if (misbehaviour == L"no-pipe") {
            if (!arguments.pipeUuid.empty()) {
                instance::ReportToStarter(arguments.pipeUuid, window.Get(), kCallbackTime);
            }
            instance::InstanceWindow::Run();
            return 0;
        }
        StandIn standIn(window, misbehaviour);
        instance::RunInstance(arguments, window, standIn);
    } catch (const tvn::BaseException&) {
        return 1;  // whoever started this instance is no longer there
    }
}
