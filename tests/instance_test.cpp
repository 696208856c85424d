// What an instance is told in texts: its command line, and the argument of a play. Its side of the
// command pipe within this process, and what the system refuses it.

#include <windows.h>

#include <comdef.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <stdexcept>

#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "instance/CommandService.h"
#include "instance/InstanceArguments.h"
#include "instance/InstanceWindow.h"
#include "instance/PlayRequest.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "tests/byte_peer.h"
#include "tests/imported_calls.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{
namespace
{

bool IsOpen(const boost::shared_ptr<Handle>& pipe)
{
    return PeekNamedPipe(pipe->Get(), nullptr, 0, nullptr, nullptr, nullptr) != FALSE;
}

/// An instance that runs out of memory at the macros "memory" and "text".
class FaultyCommands : public instance::ICommands
{
  public:
    void Attach(const std::function<void(bool accepted)>& decide) override { decide(true); }

    void Play(const instance::PlayRequest& request, const instance::Answer& answer) override
    {
        ++commands;
        if (request.macro == L"memory") {
            throw std::bad_alloc();
        }
        if (request.macro == L"text") {
            throw _com_error(E_OUTOFMEMORY);
        }
        answer.Give(sOk, request.macro);
    }

    void Display(const std::wstring& text, const instance::Answer& answer) override
    {
        ++commands;
        answer.Give(sOk, text);
    }

    void End(const instance::Answer& answer) override { Display({}, answer); }

    void Detached() override
    {
        ++detached;
        if (failsWhenDetached.exchange(false)) {
            throw std::runtime_error("the page hangs");
        }
    }

    void Close() override {}

    std::atomic<int> commands{0};
    std::atomic<int> detached{0};
    std::atomic<bool> failsWhenDetached{false};
};

/// A client of an instance.
class Client
{
  public:
    explicit Client(const ComString& name) : m_pipe(RemotePipeClient(name).OpenPipe(5000)) {}

    HANDLE Pipe() const { return m_pipe->Get(); }

    /// "STATUS TEXT", or "gone".
    std::string Asks(const wchar_t* command, const wchar_t* argument = L"")
    {
        try {
            EXPECT_TRUE(m_protocol.SendCommand(7, command, argument, 5000));
            unsigned int id = 0;
            CommandReply reply;
            m_protocol.ReadReply(id, reply, 5000);
            EXPECT_EQ(id, 7U);
            return std::to_string(reply.status) + " " + Narrow(ToComString(reply.text));
        } catch (const PipeException&) {
            return "gone";
        }
    }

    /// The same, of an attach and of a play.
    std::string Attaches(const wchar_t* creator = L"")
    {
        return Asks(kCommandAttachIfFree, creator);
    }
    std::string Plays(const wchar_t* macro = L"m")
    {
        return Asks(kCommandPlay, (std::wstring(L" -macro ") + macro + L" ").c_str());
    }

  private:
    boost::shared_ptr<Handle> m_pipe;
    CommandsProtocol m_protocol{m_pipe->Get(), nullptr};
};

/// An instance that is served within this process, as long as that lives.
struct Served
{
    explicit Served(const std::wstring& arguments = L"")
        : service(*new instance::CommandService(window.Get(),
                                                instance::InstanceArguments(arguments), commands))
    {
        EXPECT_TRUE(service.Start());
    }

    /// An end of its pipe, of a client that does nothing.
    boost::shared_ptr<Handle> Opened() const { return BytePeer::Open(Narrow(name), 5000); }

    const instance::InstanceWindow window{[] {
    }};
    const ComString name = InstancePipeName(WindowValue(window.Get()));
    FaultyCommands& commands = *new FaultyCommands;
    instance::CommandService& service;
};

}  // namespace

TEST(Instance, TakesItsArgumentsAsTheClientMeansThem)
{
    const std::string ids = " /pipeUuid=P /creatorUuid=C";
    const std::string url = "&pipeUuid=P&creatorUuid=C \"";
    const std::pair<std::string, std::string> cases[] = {
        {"C:\\a b\\talvern.exe " + ids, "P C"},
        {"", " "},
        {" /pipeUuid=Q /creatorUuid=D x" + ids, "P C"},
        {" -authorizeAll" + ids, "P C all"},
        {"-AuthorizeALL" + ids, "P C all"},  // no program in front of it
        {" \"-authorizeAll\"" + ids, "P C all"},
        {" -authorizeAllOfThem" + ids, "P C"},
        {" \"a -authorizeAll b\"" + ids, "P C"},
        {" -runner \"open -authorizeAll" + ids, "P C all"},
        {" -home http://page/?authorizeAll=true&" + ids, "P C"},
        {" -new-window \"about:blank?authorizeAll=true" + url, "P C all"},
        {" -new-window \"about:blank?authorizeAll=false" + url, "P C"},
        {" \"file:///C:\\?authorizeAll=true&\\page?authorizeAll=false" + url, "P C"},
    };
    for (const auto& [line, expected] : cases) {
        const instance::InstanceArguments arguments{std::wstring(line.begin(), line.end())};
        EXPECT_EQ(ToNarrow(arguments.pipeUuid + L" " + arguments.creatorUuid) +
                      (arguments.authorizeAll ? " all" : ""),
                  expected)
            << line;
    }
}

TEST(Instance, TakesAPlayApartToTheLetter)
{
    const instance::PlayRequest request(L" -macro a[SP]b  -var_city New[SP]York -b  c 3");
    std::wstring text = request.macro;
    for (const auto& setting : request.settings) {
        text += (setting.isVariable ? L"|var " : L"|") + setting.name + L"=" + setting.value;
    }
    EXPECT_EQ(text, L"a b|var city=New York|b=|c=3");
}

TEST(Instance, ItsPipeIsOpenToTheAccountsThatItsArgumentsName)
{
    const std::string own = "D:P(A;;GA;;;own)(A;;GA;;;SY)(A;;GA;;;BA)";
    for (const auto& [arguments, accounts] :
         {std::pair(L"", own), {L" -authorizeAll", own + "(A;;GRGW;;;WD)"}}) {
        const Served served(arguments);
        EXPECT_EQ(AccountsOf(Client(served.name).Pipe()), accounts);
    }
}

TEST(Instance, OnlyItsClientMayUseIt)
{
    const Served served;
    Client owner(served.name);
    Client other(served.name);
    for (Client* each : {&owner, &other}) {
        for (const wchar_t* command : {kCommandPlay, kCommandDisplay, kCommandEnd}) {
            EXPECT_EQ(each->Asks(command, L" -macro m "), "-1 ");
        }
        EXPECT_EQ(owner.Attaches(), "1 ") << "twice";
    }
    EXPECT_EQ(served.commands.commands, 0);
    for (const wchar_t* command : {kCommandPlay, kCommandDisplay, kCommandEnd}) {
        EXPECT_THAT(owner.Asks(command, L" -macro m "), testing::StartsWith("1 "));
    }
}

TEST(Instance, IsFreeAgainThoughItFailsWhenItsClientLeaves)
{
    const Served served;
    served.commands.failsWhenDetached = true;
    EXPECT_EQ(Client(served.name).Attaches(), "1 ");
    EXPECT_TRUE(Eventually([&] { return Client(served.name).Attaches() == "1 "; }));
}

TEST(Instance, ClientsThatDoNotAttachKeepNobodyOut)
{
    const Served served;
    Client owner(served.name);
    EXPECT_EQ(owner.Attaches(), "1 ");
    std::vector<boost::shared_ptr<Handle>> idle;
    const auto open = [&] {
        return std::count_if(idle.begin(), idle.end(), IsOpen);
    };
    for (int count = 0; count < 250; ++count) {
        idle.push_back(served.Opened());
    }
    EXPECT_EQ(Client(served.name).Asks(kCommandAttachedCount), "1 1");
    EXPECT_TRUE(Eventually([&] { return open() < 64; })) << open();
    EXPECT_TRUE(IsOpen(idle.back())) << "the oldest ones make room";
    EXPECT_EQ(owner.Plays(), "1 m");

    // The clock is moved on; a wait looks at it now and then.
    const auto looks = TVN_REPLACE_IMPORT(
        MsgWaitForMultipleObjectsEx,
        [](DWORD count, const HANDLE* handles, DWORD timeout, DWORD mask, DWORD flags) {
            const DWORD time = timeout == INFINITE ? timeout : std::min(timeout, 50UL);
            return TVN_REAL_IMPORT(MsgWaitForMultipleObjectsEx)(count, handles, time, mask, flags);
        });
    const auto silent = served.Opened();
    Sleep(300);
    EXPECT_TRUE(IsOpen(silent));
    g_imports.tickOffset = 20000;
    EXPECT_TRUE(Eventually([&] { return !IsOpen(silent); }));
    EXPECT_EQ(owner.Plays(), "1 m");
}

TEST(Instance, ReadsNoMoreCommandsFromAClientThatReadsNoReplies)
{
    const Served served;
    BytePeer client(served.Opened(), nullptr);
    int written = 0;
    while (written < 1000 && client.Write(Message(1, Narrow(kCommandAttachedCount), ""), 500)) {
        ++written;
    }
    EXPECT_THAT(written, testing::AllOf(testing::Gt(64), testing::Lt(500)));
    Bytes reply;
    for (int read = 0; read < written; ++read) {
        ASSERT_TRUE(client.Read(reply, 5000)) << read;
    }
    EXPECT_EQ(reply, Message(1, 1, "0")) << "and goes on when they are read";
}

TEST(Instance, WhatIsTooMuchForItEndsOneClientAndTheNextIsServed)
{
    const Served served(L"/creatorUuid=creator");
    EXPECT_TRUE(served.service.IsReserved());
    EXPECT_EQ(Client(served.name).Attaches(L"other"), "-1 ");
    int clients = 0;
    for (const auto& [macro, says] :
         {std::pair(L"memory", "gone"), {L"text", "gone"}, {L"m", "1 m"}}) {
        {
            Client client(served.name);
            EXPECT_EQ(client.Asks(kCommandAttachedCount), "1 0");
            EXPECT_EQ(client.Attaches(L"creator"), "1 ");
            EXPECT_EQ(Client(served.name).Attaches(L"creator"), "-1 ");
            EXPECT_EQ(Client(served.name).Asks(kCommandAttachedCount), "1 1");
            EXPECT_EQ(client.Plays(macro), says);
        }
        ++clients;
        EXPECT_TRUE(Eventually([&] { return served.commands.detached == clients; }));
        EXPECT_TRUE(
            Eventually([&] { return Client(served.name).Asks(kCommandAttachedCount) == "1 0"; }));
    }
    EXPECT_FALSE(served.service.IsReserved());
}

TEST(Instance, HasNoWindowThatTheSystemRefuses)
{
    ImportWatch watch;
    watch.Fail("CreateWindowExW", ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_THROW(instance::InstanceWindow([] {}), Win32Exception);
}

TEST(Instance, AnInstanceWhoseStarterGoesAwayEnds)
{
    EXPECT_EQ(StartedAndLeft("standins\\talvern.exe")->WaitForExit(5000), sOk);
}

}  // namespace tvn::tests
