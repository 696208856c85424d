// The bytes that cross a process boundary.

#include <rpc.h>

#include <array>
#include <set>
#include <tuple>

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "runner/RunnerProtocol.h"
#include "tests/scripted_peer.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;

static Bytes LaidOut(Serializer& serializer)
{
    serializer.Serialize();
    const MessageBuffer buffer = serializer.GetBuffer();
    return {buffer.get(), buffer.get() + serializer.GetSize()};
}

TEST(Wire, FieldsLieBackToBackBehindTheLength)
{
    Serializer serializer;
    serializer.AddUInt(0x102);
    EXPECT_EQ(LaidOut(serializer), Words({8, 0x102}));
    serializer.AddInt(-1);
    serializer.AddString(L"ab");
    serializer.AddUInt(0xFFFFFFFF);
    serializer.AddString(ComString());
    serializer.AddString(L"");
    EXPECT_EQ(LaidOut(serializer), Words({28, 0xFFFFFFFF, 4, 0x00620061, 0xFFFFFFFF, 0, 0}));
    EXPECT_EQ(LaidOut(serializer), Words({4})) << "the fields are used up";
}

TEST(Wire, CommandsRepliesAndCallbacksHaveTheirBytes)
{
    ScriptedPeer peer;
    const auto pipe = peer.Client();
    CommandsProtocol client(pipe->Get(), nullptr);
    EXPECT_TRUE(client.SendCommand(1, L"PLAY", L"xy", 1000));
    EXPECT_EQ(peer.Receive(), Words({28, 1, 8, 0x004C0050, 0x00590041, 4, 0x00790078}));
    EXPECT_TRUE(client.SendCommand(2, L"ab", {}, 1000));
    EXPECT_EQ(peer.Receive(), Message(2, "ab", ""));
    unsigned int id = 0;
    ComString name;
    ComString argument = L"replaced";
    peer.Send(Message(2, "ab", ""));
    client.ReceiveCommand(id, name, argument, 1000);
    EXPECT_EQ(id, 2U);
    EXPECT_EQ(Narrow(name), "ab");
    EXPECT_EQ(Narrow(argument), "");
    client.SendReply(0xFFFFFFFE, -100, L"ab", 1000);
    EXPECT_EQ(peer.Receive(), Words({20, 0xFFFFFFFE, 0xFFFFFF9C, 4, 0x00620061}));

    CallbackProtocol callback(pipe->Get(), nullptr);
    callback.SendHwnd(0x400, 1000);
    EXPECT_EQ(peer.Receive(), Words({8, 0x400}));
    peer.Send(Words({8, 0xFFFE0400}));
    DWORD hwnd = 0;
    callback.ReceiveHwnd(hwnd, 1000);
    EXPECT_EQ(hwnd, 0xFFFE0400);
}

TEST(Wire, EachPipeHasTheNameThatItsOtherSideKnows)
{
    EXPECT_EQ(Narrow(CallbackPipeName(L"a_b")), "\\\\.\\pipe\\Talvern_a_b");
    EXPECT_EQ(Narrow(InstancePipeName(0x10040)), "\\\\.\\pipe\\Talvern_65600");
    EXPECT_EQ(Narrow(InstancePipeName(0x80000001)), "\\\\.\\pipe\\Talvern_-2147483647");
    EXPECT_EQ(Narrow(RunnerPipeName()), "\\\\.\\pipe\\tvnRunner");
    EXPECT_EQ(CallbackPipeName(std::wstring(600, L'u').c_str()).length(), 511U);
    std::string id = Narrow(CreateUuidString());
    EXPECT_NE(id, Narrow(CreateUuidString()));
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef_"), std::string::npos);
    ReplaceAll(id, "_", "-");
    UUID uuid;
    EXPECT_EQ(UuidFromStringA(reinterpret_cast<RPC_CSTR>(id.data()), &uuid), RPC_S_OK);
}

// ---- runner messages

template <class Message, class Fill>
static boost::shared_ptr<BaseMsg> Filled(Fill fill)
{
    auto message = boost::make_shared<Message>();
    message->msgId = 7;
    fill(*message);
    return message;
}

TEST(RunnerWire, EveryMessageHasItsBytesAndIsReadBackAsItself)
{
    // The texts "aA" to "eE" as words.
    const auto [kA, kB, kC, kD, kE] =
        std::array{0x00410061U, 0x00420062U, 0x00430063U, 0x00440064U, 0x00450065U};
    const auto name = [](auto& m) {
        m.processName = L"aA";
    };
    const auto failed = [](auto& m) {
        m.result = -3;
    };
    const std::pair<boost::shared_ptr<BaseMsg>, Bytes> cases[] = {
        {Filled<MsgStart>([](auto& m) {
             std::tie(m.appPath, m.cmdLine, m.user, m.domain, m.password) =
                 std::tuple(L"aA", L"bB", L"cC", L"dD", L"eE");
         }),
         Words({52, 1, 7, 4, kA, 4, kB, 4, kC, 4, kD, 4, kE})},
        {Filled<MsgStartComplete>(
             [](auto& m) { std::tie(m.result, m.pid, m.processKey) = std::tuple(-7, 99U, L"aA"); }),
         Words({28, 2, 7, 0xFFFFFFF9, 99, 4, kA})},
        {Filled<MsgTerminate>([](auto& m) { m.processKey = L"bB"; }), Words({20, 3, 7, 4, kB})},
        {Filled<MsgTerminateComplete>(failed), Words({16, 4, 7, 0xFFFFFFFD})},
        {Filled<MsgWaitForExit>(
             [](auto& m) { std::tie(m.timeout, m.processKey) = std::tuple(0xFFFFFFFF, L"aA"); }),
         Words({24, 5, 7, 0xFFFFFFFF, 4, kA})},
        {Filled<MsgWaitForExitComplete>(failed), Words({16, 6, 7, 0xFFFFFFFD})},
        {Filled<MsgGetProcessesByName>(name), Words({20, 7, 7, 4, kA})},
        {Filled<MsgGetProcessesByNameComplete>([](auto& m) {
             m.result = 1;
             m.pids = {11, 22};
             m.processKeys = {L"aA", L""};
         }),
         Words({40, 8, 7, 1, 2, 11, 4, kA, 22, 0})},
        {Filled<MsgGetInstancesByName>(name), Words({20, 9, 7, 4, kA})},
        {Filled<MsgGetInstancesByNameComplete>([](auto& m) {
             m.result = 1;
             m.pids = {11, 22};
             m.processKeys = {L"", L"bB"};
             m.windows = {0x80010040, 5};
         }),
         Words({48, 10, 7, 1, 2, 11, 0, 0x80010040, 22, 4, kB, 5})},
        // Arrays of unequal lengths
        {Filled<MsgGetProcessesByNameComplete>([](auto& m) { m.pids = {1}; }),
         Words({20, 8, 7, 0xFFFFFFFF, 0})},
        {Filled<MsgGetInstancesByNameComplete>([](auto& m) {
             m.pids = {1, 2};
             m.processKeys.resize(2);
             m.windows = {1};
         }),
         Words({20, 10, 7, 0xFFFFFFFF, 0})},
    };
    ScriptedPeer peer;
    const auto pipe = peer.Client();
    RunnerProtocol client(pipe->Get(), nullptr);
    boost::shared_ptr<BaseMsg> read;
    for (const auto& [message, bytes] : cases) {
        SCOPED_TRACE(message->GetType());
        client.WriteMsg(message, nullptr, 1000);
        EXPECT_EQ(peer.Receive(), bytes);
        peer.Send(bytes);
        client.ReadMsg(read, 1000);
        ASSERT_EQ(read->GetType(), message->GetType());
        client.WriteMsg(read, nullptr, 1000);
        EXPECT_EQ(peer.Receive(), bytes) << "a message read and written again";
    }
    EXPECT_EQ(static_cast<MsgStartComplete&>(*client.CreateMsg(2)).result, -1);
    EXPECT_EQ(client.CreateMsg(4)->msgId, 0U);
}

TEST(RunnerWire, IdsGrowByOneAndDifferOnAllThreads)
{
    ScriptedPeer peer;
    const auto pipe = peer.Client();
    RunnerProtocol client(pipe->Get(), nullptr);
    const auto first = boost::make_shared<MsgTerminate>();
    std::vector<std::uint32_t> written;
    for (const auto& message : {first, first, boost::make_shared<MsgTerminate>()}) {
        client.WriteMsg(message, &written.emplace_back(), 1000);
    }
    EXPECT_THAT(written, ElementsAre(1, 1, 2)) << "the first messages of the process";

    std::vector<std::uint32_t> made[4];
    std::vector<std::thread> threads;
    for (auto& ids : made) {
        threads.emplace_back([&ids] {
            for (int count = 0; count < 2000; ++count) {
                MsgTerminate message;
                message.Serialize(boost::make_shared<Serializer>());
                ids.push_back(message.msgId);
            }
        });
    }
    std::set<std::uint32_t> all;
    for (std::size_t index = 0; index < threads.size(); ++index) {
        threads[index].join();
        all.insert(made[index].begin(), made[index].end());
    }
    EXPECT_EQ(all.size(), 8000U);
    EXPECT_EQ(*all.rbegin(), 8002U);
}

}  // namespace tvn::tests
