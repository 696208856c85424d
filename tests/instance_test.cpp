// The browser's side of the command pipe within this process, and what the system refuses it.

#include <comdef.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <new>

#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "instance/CommandService.h"
#include "instance/InstanceWindow.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "tests/imported_calls.h"
#include "tests/moments.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{
namespace
{

constexpr const char* kName = "\\\\.\\pipe\\TalvernInstanceTest";

bool FindsAnEnd(const char* name, DWORD time)
{
    try {
        RemotePipeClient(name).OpenPipe(time);
        return true;
    } catch (const PipeException&) {
        return false;
    }
}

/// An instance for which some macros are too much.
class FaultyCommands : public instance::ICommands
{
  public:
    void Attach(const std::function<void(bool accepted)>& decide) override { decide(true); }

    void Play(const instance::PlayRequest& request, const instance::Answer& answer) override
    {
        if (request.macro == L"memory") {
            throw std::bad_alloc();
        }
        if (request.macro == L"text") {
            throw _com_error(E_OUTOFMEMORY);
        }
        answer.Give(sOk, request.macro);
    }

    void Display(const std::wstring& /*text*/, const instance::Answer& answer) override
    {
        answer.Give(sOk);
    }

    void End(const instance::Answer& answer) override { answer.Give(sOk); }

    void Detached() override { ++detached; }

    void Close() override {}

    std::atomic<int> detached{0};
};

/// A client of the instance.
class Client
{
  public:
    explicit Client(const ComString& name) : m_pipe(RemotePipeClient(name).OpenPipe(5000)) {}

    /// "STATUS TEXT", or "gone".
    std::string Asks(const wchar_t* command, const wchar_t* argument)
    {
        try {
            auto message = CommandsProtocol::NewCommand(7, command, argument);
            m_protocol.WriteMessage(message, 5000);
            CommandReply reply;
            EXPECT_EQ(m_protocol.ReadReply(reply, 5000), 7U);
            return std::to_string(reply.status) + " " + Narrow(ToComString(reply.text));
        } catch (const PipeException&) {
            return "gone";
        }
    }

  private:
    boost::shared_ptr<Handle> m_pipe;
    CommandsProtocol m_protocol{m_pipe->Get(), nullptr};
};

}  // namespace

TEST(Instance, WhatIsTooMuchForItEndsOneClientAndTheNextIsServed)
{
    const instance::InstanceWindow window([] {});
    const ComString name = InstancePipeName(WindowValue(window.Get()));
    // Both live as long as their process.
    auto& commands = *new FaultyCommands;
    auto& service = *new instance::CommandService(
        window.Get(), instance::InstanceArguments(L"/creatorUuid=creator"), commands);
    ASSERT_TRUE(service.Start());
    EXPECT_TRUE(service.IsReserved());
    EXPECT_EQ(Client(name).Asks(kCommandAttachIfFree, L"other"), "-1 ");
    int clients = 0;
    for (const auto& [play, says] : {std::pair(L" -macro memory ", "gone"),
                                     {L" -macro text ", "gone"},
                                     {L" -macro m ", "1 m"}}) {
        {
            Client client(name);
            EXPECT_EQ(client.Asks(kCommandAttachedCount, L""), "1 0");
            EXPECT_EQ(client.Asks(kCommandAttachIfFree, L"creator"), "1 ");
            EXPECT_EQ(Client(name).Asks(kCommandAttachIfFree, L"creator"), "-1 ");
            EXPECT_EQ(Client(name).Asks(kCommandAttachedCount, L""), "1 1");
            EXPECT_EQ(client.Asks(kCommandPlay, play), says);
        }
        ++clients;
        EXPECT_TRUE(Eventually([&] { return commands.detached == clients; }));
        EXPECT_TRUE(
            Eventually([&] { return Client(name).Asks(kCommandAttachedCount, L"") == "1 0"; }));
    }
    EXPECT_FALSE(service.IsReserved());

    g_imports.failCreateEvent = true;
    const auto refused = RemotePipeClient(name).OpenPipe(5000);
    EXPECT_TRUE(Eventually([&] {
        return !PeekNamedPipe(refused->Get(), nullptr, 0, nullptr, nullptr, nullptr);
    })) << "without an event nobody can be served";
    g_imports.failCreateEvent = false;
    EXPECT_TRUE(Eventually([&] { return Client(name).Asks(kCommandAttachIfFree, L"") == "1 "; }))
        << "once no end is left that was made without one";
}

TEST(Instance, ItsPipeIsNotServedWithoutWhatTheSystemRefuses)
{
    for (const char* call : {"InitializeSecurityDescriptor", "SetSecurityDescriptorDacl",
                             "CreateNamedPipeA", "QueueUserWorkItem"}) {
        ImportWatch watch;
        watch.Fail(call, ERROR_NOT_ENOUGH_MEMORY);
        instance::PipeListener listener(kName, instance::PipeAccess::kEveryone, [](const auto&) {});
        EXPECT_FALSE(listener.Start()) << call;
        EXPECT_FALSE(WaitNamedPipeA(kName, 1)) << call;
    }
    ImportWatch watch;
    watch.Fail("CreateWindowExW", ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_THROW(instance::InstanceWindow([] {}), Win32Exception);
}

TEST(Instance, ItsPipeIsServedAgainOnceTheSystemHasEndsToGive)
{
    static std::vector<boost::shared_ptr<Handle>> served;
    static std::atomic<int> refused = 0;
    auto& listener = *new instance::PipeListener(
        kName, instance::PipeAccess::kOwnAccount,
        [](const boost::shared_ptr<Handle>& pipe) { served.push_back(pipe); });
    ASSERT_TRUE(listener.Start());
    Sleep(200);
    {
        const auto refuses = TVN_REPLACE_IMPORT(
            CreateNamedPipeA,
            [](LPCSTR, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, SECURITY_ATTRIBUTES*) -> HANDLE {
                ++refused;
                SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                return INVALID_HANDLE_VALUE;
            });
        int found = 0;
        while (FindsAnEnd(kName, 200)) {
            ++found;
        }
        EXPECT_GE(found, 1);
        EXPECT_GE(refused, 1);
    }
    EXPECT_TRUE(FindsAnEnd(kName, 2000));
}

TEST(Instance, AnInstanceWhoseStarterGoesAwayEnds)
{
    EXPECT_EQ(StartedAndLeft("standins\\talvern.exe")->WaitForExit(5000), sOk);
}

}  // namespace tvn::tests
