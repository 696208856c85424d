// A stand-in for a browser with the Talvern add-on, and an example for whoever writes the real
// one's side of the protocols. The same program serves as talvern.exe, iexplore.exe and
// firefox.exe.
//
// It makes the hidden window by which an instance is found, serves the command pipe named after it,
// reports itself on the callback pipe if its command line names one, and answers the commands. It
// plays no macros: it answers a "PLAY" with the macro and the variables it was given, as extract
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
//     !wait MS       answers later                !stale         a reply to an older command first
//     !silent        no reply                     !hang          reads no further command
//     !close         closes the pipe              !end           ends the process
//     !break         a reply with a text longer than the message
//     !claim         a reply that claims to be 4 GiB long
//     !displayed     the text displayed last      !commandline   the process's command line

#include <windows.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "basicslib/ComString.h"
#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "standins/PipeListener.h"

namespace
{

constexpr DWORD kCallbackTime = 10000;
constexpr DWORD kReplyTime = 10000;

// ---- the command line

/// The value that follows `name` on the command line, up to the first character that an identifier
/// does not have. The own browser is given "/pipeUuid=..."; the other two are given a URL with
/// "pipeUuid=..." in it.
std::wstring IdAfter(const std::wstring& commandLine, const std::wstring& name)
{
    const std::size_t start = commandLine.find(name);
    if (start == std::wstring::npos) {
        return {};
    }
    std::size_t end = start + name.size();
    while (end < commandLine.size() &&
           (iswalnum(commandLine[end]) || commandLine[end] == L'_' || commandLine[end] == L'-')) {
        ++end;
    }
    return commandLine.substr(start + name.size(), end - start - name.size());
}

/// The word that tells what to do wrong, empty for nothing.
std::wstring Misbehaviour()
{
    std::wstring word = IdAfter(GetCommandLineW(), L"-standin=");
    wchar_t variable[64] = L"";
    if (word.empty() && GetEnvironmentVariableW(L"TALVERN_STANDIN", variable, 64) < 64) {
        word = variable;
    }
    return word;
}

// ---- who the instance belongs to

/// An instance belongs to at most one client. One that was started by a scripting object is kept
/// for that object until it has attached; when the client's connection ends, the instance is free.
class Attachment
{
  public:
    explicit Attachment(std::wstring creatorUuid) : m_reservedFor(std::move(creatorUuid)) {}

    bool AttachIfFree(const void* client, const std::wstring& creatorUuid)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if ((m_client != nullptr && m_client != client) ||
            (!m_reservedFor.empty() && m_reservedFor != creatorUuid)) {
            return false;
        }
        m_client = client;
        m_reservedFor.clear();
        return true;
    }

    void Detach(const void* client)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_client == client) {
            m_client = nullptr;
        }
    }

    int Count()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_client == nullptr ? 0 : 1;
    }

  private:
    std::mutex m_mutex;
    const void* m_client = nullptr;
    std::wstring m_reservedFor;
};

// ---- the argument of a "PLAY"

std::wstring Decode(std::wstring text)
{
    for (const auto& [character, mark] : tvn::kArgumentEscapes) {
        for (std::size_t at = 0; (at = text.find(mark, at)) != std::wstring::npos; ++at) {
            text.replace(at, mark.size(), 1, character);
        }
    }
    return text;
}

std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator)
{
    std::vector<std::wstring> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

/// " -macro NAME -var_a 1 -b 2": words divided by blanks, where two blanks stand between the macro
/// and the variables. A value may be empty, so the words go in pairs.
struct PlayRequest
{
    explicit PlayRequest(const std::wstring& argument)
    {
        const std::vector<std::wstring> words = Split(argument, L' ');
        if (words.size() > 2 && words[1] == L"-macro") {
            macro = Decode(words[2]);
        }
        for (std::size_t at = 4; at + 1 < words.size(); at += 2) {
            const std::size_t prefix = words[at].rfind(L"-var_", 0) == 0 ? 5 : 0;
            variables.push_back(words[at].substr(prefix) + L"=" + Decode(words[at + 1]));
        }
    }

    std::wstring macro;
    std::vector<std::wstring> variables;
};

// ---- the instance

class BrowserInstance
{
  public:
    BrowserInstance(HWND window, std::wstring misbehaviour, std::wstring creatorUuid)
        : m_window(window),
          m_misbehaviour(std::move(misbehaviour)),
          m_attachment(std::move(creatorUuid)),
          m_commandPipe(static_cast<const char*>(tvn::InstancePipeName(tvn::WindowValue(m_window))),
                        [this](const boost::shared_ptr<tvn::Handle>& pipe) { Serve(*pipe); })
    {}

    /// The pipe is there before the callback, so that whoever started the instance finds it.
    bool Start(const std::wstring& pipeUuid)
    {
        if (m_misbehaviour != L"no-pipe" && !m_commandPipe.Start()) {
            return false;
        }
        if (!pipeUuid.empty() && m_misbehaviour != L"no-callback") {
            CallBack(pipeUuid);
        }
        return true;
    }

  private:
    /// What a command is answered with, if at all.
    struct Reply
    {
        int status = tvn::sOk;
        std::wstring text;
        bool wanted = true;      ///< false: no reply, the next command is read
        bool stale = false;      ///< a reply to an older command goes first
        bool goOn = true;        ///< false: the connection is closed
        bool malformed = false;  ///< `bytes` goes out in the reply's place
        std::vector<unsigned int> bytes;
    };

    void CallBack(const std::wstring& pipeUuid)
    {
        tvn::RemotePipeClient client(tvn::CallbackPipeName(tvn::ToComString(pipeUuid)));
        const auto pipe = client.OpenPipe(kCallbackTime);
        if (m_misbehaviour == L"silent-callback") {
            Sleep(INFINITE);
        }
        if (m_misbehaviour != L"closed-callback") {
            tvn::CallbackProtocol(pipe->Get(), nullptr)
                .SendHwnd(tvn::WindowValue(m_window), kCallbackTime);
        }
    }

    /// One client, from its connect to its end.
    void Serve(const tvn::Handle& pipe)
    {
        tvn::CommandsProtocol protocol(pipe.Get(), nullptr);
        try {
            for (bool goOn = true; goOn;) {
                unsigned int id = 0;
                tvn::ComString command;
                tvn::ComString argument;
                protocol.ReceiveCommand(id, command, argument, INFINITE);
                const Reply reply = Answer(&pipe, std::wstring(tvn::ToView(command)),
                                           std::wstring(tvn::ToView(argument)), id);
                Send(protocol, id, reply);
                goOn = reply.goOn;
            }
        } catch (const tvn::BaseException&) {
            // The client has gone, or does not read.
        }
        m_attachment.Detach(&pipe);
        if (m_ending) {
            PostMessageW(m_window, WM_CLOSE, 0, 0);
        }
    }

    static void Send(tvn::CommandsProtocol& protocol, unsigned int id, const Reply& reply)
    {
        if (reply.stale) {
            protocol.SendReply(id - 1, tvn::sFail, L"stale", kReplyTime);
        }
        if (reply.malformed) {
            protocol.WritePipe(reply.bytes.data(),
                               static_cast<DWORD>(reply.bytes.size() * sizeof reply.bytes[0]),
                               kReplyTime);
        } else if (reply.wanted) {
            protocol.SendReply(id, reply.status, tvn::ToComString(reply.text), kReplyTime);
        }
    }

    Reply Answer(const void* client, const std::wstring& command, const std::wstring& argument,
                 unsigned int id)
    {
        Reply reply;
        if (m_misbehaviour == L"no-answer") {
            reply.wanted = false;
        } else if (command == tvn::kCommandAttachIfFree) {
            const bool attached =
                m_misbehaviour != L"refuse" && m_attachment.AttachIfFree(client, argument);
            reply.status = attached ? tvn::sOk : tvn::sFail;
        } else if (command == tvn::kCommandAttachedCount) {
            reply.text = std::to_wstring(m_attachment.Count());
        } else if (command == tvn::kCommandPlay) {
            Play(PlayRequest(argument), id, reply);
        } else if (command == tvn::kCommandDisplay) {
            const std::lock_guard<std::mutex> lock(m_displayMutex);
            m_displayed = argument;
        } else if (command == tvn::kCommandEnd) {
            m_ending = m_misbehaviour != L"stay";
            reply.goOn = !m_ending;
        } else {
            reply.status = tvn::sFail;
        }
        return reply;
    }

    void Play(const PlayRequest& request, unsigned int id, Reply& reply)
    {
        if (request.macro.rfind(L'!', 0) == 0) {
            for (const std::wstring& line : Split(request.macro, L'\n')) {
                const std::size_t blank = std::min(line.find(L' '), line.size());
                const std::size_t rest = std::min(blank + 1, line.size());
                Direct(line.substr(0, blank), line.substr(rest), id, reply);
            }
            return;
        }
        reply.text = request.macro;
        for (const std::wstring& variable : request.variables) {
            reply.text += L"[EXTRACT]" + variable;
        }
    }

    void Direct(const std::wstring& word, const std::wstring& value, unsigned int id, Reply& reply)
    {
        if (word == L"!status") {
            reply.status = _wtoi(value.c_str());
        } else if (word == L"!reply") {
            reply.text = value;
        } else if (word == L"!wait") {
            Sleep(static_cast<DWORD>(_wtoi(value.c_str())));
        } else if (word == L"!stale") {
            reply.stale = true;
        } else if (word == L"!silent") {
            reply.wanted = false;
        } else if (word == L"!hang") {
            Sleep(INFINITE);
        } else if (word == L"!close") {
            reply.wanted = reply.goOn = false;
        } else if (word == L"!end") {
            ExitProcess(1);
        } else if (word == L"!break") {
            reply.malformed = true;
            reply.bytes = {16, id, 1, 1000};
        } else if (word == L"!claim") {
            reply.malformed = true;
            reply.bytes = {0xFFFFFFFF, id, 1, 0};
        } else if (word == L"!displayed") {
            const std::lock_guard<std::mutex> lock(m_displayMutex);
            reply.text = m_displayed;
        } else if (word == L"!commandline") {
            reply.text = GetCommandLineW();
        }
    }

    HWND m_window;
    std::wstring m_misbehaviour;
    Attachment m_attachment;
    std::atomic<bool> m_ending{false};
    std::mutex m_displayMutex;
    std::wstring m_displayed;
    standins::PipeListener m_commandPipe;
};

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DESTROY) {
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

/// The window by which the instance is found. It is never shown.
HWND CreateInstanceWindow(HINSTANCE module)
{
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &WindowProc;
    windowClass.hInstance = module;
    windowClass.lpszClassName = L"TalvernInstance";
    RegisterClassW(&windowClass);
    return CreateWindowExW(0, windowClass.lpszClassName, tvn::kInstanceWindowTitle,
                           WS_OVERLAPPEDWINDOW, 0, 0, 1, 1, nullptr, nullptr, module, nullptr);
}

}  // namespace

int WINAPI WinMain(HINSTANCE module, HINSTANCE /*previous*/, LPSTR /*arguments*/, int /*show*/)
{
    const std::wstring commandLine = GetCommandLineW();
    const std::wstring misbehaviour = Misbehaviour();
    HWND window = misbehaviour == L"end" ? nullptr : CreateInstanceWindow(module);
    if (window == nullptr) {
        return 1;
    }
    BrowserInstance instance(window, misbehaviour, IdAfter(commandLine, L"creatorUuid="));
    try {
        if (!instance.Start(IdAfter(commandLine, L"pipeUuid="))) {
            ExitProcess(1);
        }
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        ExitProcess(0);  // the threads that wait for commands end with the process
    } catch (const tvn::BaseException&) {
        ExitProcess(1);  // whoever started this instance is no longer there
    }
}
