// One command at a time on an instance's pipe: ids, stale replies, time-outs, busy, retries.

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/MacrosClient.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"
#include "tests/scripted_peer.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;

constexpr const char* kCommandPipe = "\\\\.\\pipe\\Talvern_command_test";
const std::string kFailed = kDebug + "[CommandClient::Execute] sFail (cmd = C)";
const std::string kOpen = kDebug + "[RemotePipeClient::OpenPipe] ";

class Commands : public testing::Test
{
  protected:
    int Run(DWORD timeout)
    {
        reply = client.Execute(timeout, L"C", L"");
        return reply.status;
    }
    int Run(DWORD timeout, const Script& script)
    {
        instance->Perform(script);
        return Run(timeout);
    }
    static Bytes Command(int id) { return Message(id, "C", ""); }

    std::optional<ScriptedPeer> instance{std::in_place, kCommandPipe};
    boost::shared_ptr<Handle> interrupt = NewEvent();
    MacrosClient client{kCommandPipe, interrupt, true};
    CommandReply reply;
};

TEST_F(Commands, OnlyTheReplyWithTheCommandsIdIsTaken)
{
    const LogCapture log;
    EXPECT_EQ(Run(0), sTimeout);
    EXPECT_EQ(log.Count(kDebug + "[CommandClient::Execute] sTimeout (cmd = C)"), 1);
    EXPECT_EQ(Run(5000, {{Command(1)},  // one that timed out used its id
                         {Command(2), {Message(1, 17, "stale"), Message(2, -500, "own")}}}),
              -500);
    EXPECT_EQ(reply.text, L"own");
}

TEST_F(Commands, AFailureOfTheOtherSideIsAStatus)
{
    const LogCapture log;
    EXPECT_EQ(Run(5000, {{Command(1), {Words({16, 1, 1, 1000})}}}), sFail) << "a torn reply";
    SetEvent(interrupt->Get());
    EXPECT_EQ(Run(INFINITE), sFail);
    ResetEvent(interrupt->Get());
    EXPECT_EQ(log.Count(kFailed), 2);
    instance.reset();
    EXPECT_EQ(Run(INFINITE), sFail);
    EXPECT_EQ(log.Count(kFailed), 4) << "the write and the read fail each";
    for (const auto& [call, status] : {std::pair("CreateFileA", +sFail),
                                       {"SetNamedPipeHandleState", +sFail},
                                       {"ReadFile", +sFail},
                                       {"WriteFile", +sOk},
                                       {"GetOverlappedResult", +sOk}}) {
        // This instance answers without being asked, so a failed write is harmless; so is a failed
        // look whether the answer has come, because the read tells it, too.
        instance.emplace(kCommandPipe);
        instance->Perform({{std::nullopt, {Message(1, sOk, "")}, 50}});
        ImportWatch watch;
        watch.Fail(call, ERROR_ACCESS_DENIED);
        CommandClient once(kCommandPipe, {}, false);
        EXPECT_EQ(once.Execute(1000, L"C", L"").status, status) << call;
        EXPECT_STREQ(watch.Failed(), call);
        BytePeer::Open(kCommandPipe);  // the instance waits for a client
    }
}

TEST_F(Commands, StaleRepliesHoldTheCallerNeitherWithinItsTimeNorAfterIt)
{
    const Step stale = {std::nullopt, {Message(0, 1, "stale")}, 50};
    Script script(10, stale);
    script.push_back({std::nullopt, {Message(1, sOk, "too late")}});
    EXPECT_EQ(Run(300, script), sTimeout);

    for (const auto& [count, expected] : {std::pair{20, +sOk}, {200, +sTimeout}}) {
        instance.emplace(kCommandPipe, 0x4000);
        MacrosClient hasty(kCommandPipe, interrupt, false);
        EXPECT_EQ(hasty.Execute(0, L"C", L"").status, sTimeout);
        for (int sent = 0; sent < count; ++sent) {
            instance->Send(Message(1, 17, ""));
        }
        instance->Send(Message(2, sOk, ""));
        EXPECT_EQ(hasty.Execute(0, L"C", L"").status, expected)
            << "what is there is read, " << count;
    }
}

TEST_F(Commands, ANestedCommandIsRefusedAndUsesNoId)
{
    int nested = 0;
    CallLater(50, [&] { nested = Run(INFINITE); });
    EXPECT_EQ(Run(300), sTimeout);
    EXPECT_EQ(nested, sFail);
    EXPECT_EQ(Run(5000, {{Command(1)}, {Command(2), {Message(2, sOk, "")}}}), sOk);
}

TEST_F(Commands, AMissingPipeIsAwaitedOnlyWhenThatIsAskedFor)
{
    instance.reset();
    const LogCapture log;
    CommandClient once(kCommandPipe, {}, false);
    EXPECT_EQ(once.Execute(INFINITE, L"C", L"").status, sFail);
    EXPECT_THAT(log.Lines(),
                ElementsAre(kOpen + kCommandPipe, kOpen + "CreateFile failed with code 0x00000002",
                            kDebug + "hPipe == INVALID_HANDLE_VALUE (0x00000002)"));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(Run(450), sFail); }), Within(400, 3000));
    EXPECT_THAT(log.Count(kOpen + kCommandPipe) - 1, Within(4, 7));

    const std::jthread late([&] {
        Sleep(250);
        instance.emplace(kCommandPipe);
        // A command that found no pipe used no id.
        instance->Perform({{Command(1), {Message(1, sOk, "")}, 50}});
    });
    const auto tries = log.Count(kOpen + kCommandPipe);
    EXPECT_EQ(Run(10000), sOk);
    const auto pauses = log.Count(kOpen + kCommandPipe) - tries - 1;
    EXPECT_LE(g_imports.lastWait, 10000 - 50 * pauses) << "the reply gets what they have left";
}

TEST_F(Commands, TheAuxiliaryCommandsGiveStatusAndCount)
{
    instance->Perform({{Message(1, "tvnAuxAttachIfFree", "creator"), {Message(1, -77, "")}},
                       {Message(2, "tvnAuxAttachedCount", ""), {Message(2, sOk, "3")}},
                       {Message(3, "tvnAuxAttachedCount", ""), {Message(3, -2, "3")}}});
    EXPECT_EQ(client.AuxAttachIfFree(5000, L"creator"), -77);
    EXPECT_EQ(Narrow(client.AuxAttachedCount(5000)), "3");
    EXPECT_EQ(Narrow(client.AuxAttachedCount(5000)), "");
}

TEST_F(Commands, AClientOutlivesItsOwnerDuringACommand)
{
    const FreedMemoryIsGone gone;
    auto owner = boost::make_shared<MacrosClient>(kCommandPipe, interrupt, true);
    CallLater(50, [&] { owner.reset(); });
    EXPECT_EQ(owner->AuxAttachIfFree(300, L""), sTimeout);
    EXPECT_FALSE(owner);
}

}  // namespace tvn::tests
