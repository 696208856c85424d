// The bytes that cross a process boundary.

#include <rpc.h>

#include <set>

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

TEST(Wire, CommandsRepliesAndCallbacksHaveTheirBytes)
{
    ScriptedPeer peer;
    const auto pipe = peer.Client();
    CommandsProtocol commands(pipe->Get(), nullptr);
    EXPECT_TRUE(commands.SendCommand(1, L"PLAY", L"xy", 1000));
    EXPECT_EQ(peer.Receive(), Words({28, 1, 8, 0x004C0050, 0x00590041, 4, 0x00790078}));
    unsigned int id = 0;
    ComString name;
    ComString argument = L"replaced";
    peer.Send(Message(2, "ab", ""));
    commands.ReceiveCommand(id, name, argument, 1000);
    EXPECT_EQ(id, 2U);
    EXPECT_EQ(Narrow(name), "ab");
    EXPECT_EQ(Narrow(argument), "");
    commands.SendReply(0xFFFFFFFE, -100, L"ab", 1000);
    EXPECT_EQ(peer.Receive(), Words({20, 0xFFFFFFFE, 0xFFFFFF9C, 4, 0x00620061}));
    CallbackProtocol(pipe->Get(), nullptr).SendHwnd(0x400, 1000);
    EXPECT_EQ(peer.Receive(), Words({8, 0x400}));
}

TEST(Wire, APipeIsNamedAfterItsIdentifierOrWindow)
{
    EXPECT_EQ(Narrow(CallbackPipeName(L"a_b")), "\\\\.\\pipe\\Talvern_a_b");
    EXPECT_EQ(Narrow(InstancePipeName(0x80000001)), "\\\\.\\pipe\\Talvern_-2147483647");
    EXPECT_EQ(CallbackPipeName(std::wstring(600, L'u').c_str()).length(), 511U);
    std::string id = Narrow(CreateUuidString());
    EXPECT_NE(id, Narrow(CreateUuidString()));
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef_"), std::string::npos);
    ReplaceAll(id, "_", "-");
    UUID uuid;
    EXPECT_EQ(UuidFromStringA(reinterpret_cast<RPC_CSTR>(id.data()), &uuid), RPC_S_OK);
}

// ---- runner messages

TEST(RunnerWire, EveryMessageIsReadAndWrittenAgainByteByByte)
{
    const Bytes messages[] = {
        Message(1, 7, "a", "b", "c", "d", "e"),
        Message(2, 7, -7, 99, "a"),
        Message(3, 7, "b"),
        Message(4, 7, -3),
        Message(5, 7, 0xFFFFFFFF, "a"),
        Message(6, 7, -3),
        Message(7, 7, "a"),
        Message(8, 7, 1, 2, 11, "a", 22, ""),
        Message(9, 7, "a"),
        Message(10, 7, 1, 2, 11, "", 0x80010040, 22, "b", 5),
        {17, 0, 0, 0, 3, 0, 0, 0, 7, 0, 0, 0, 1, 0, 0, 0, 'h'},  // half a character
    };
    ScriptedPeer peer;
    const auto pipe = peer.Client();
    RunnerProtocol protocol(pipe->Get(), nullptr);
    boost::shared_ptr<BaseMsg> read;
    for (const Bytes& message : messages) {
        peer.Send(message);
        protocol.ReadMsg(read, 1000);
        protocol.WriteMsg(read, nullptr, 1000);
        EXPECT_EQ(peer.Receive(), message);
    }
    const auto processes = boost::make_shared<MsgGetProcessesByNameComplete>();
    processes->pids = {1};
    const auto instances = boost::make_shared<MsgGetInstancesByNameComplete>();
    instances->pids = {1, 2};
    instances->processKeys.resize(2);
    instances->windows = {1};
    const boost::shared_ptr<BaseMsg> uneven[] = {processes, instances};
    for (const auto& message : uneven) {
        message->msgId = 7;
        protocol.WriteMsg(message, nullptr, 1000);
        EXPECT_EQ(peer.Receive(), Message(message->GetType(), 7, -1, 0));
    }
    EXPECT_EQ(static_cast<MsgStartComplete&>(*protocol.CreateMsg(2)).result, -1);
    EXPECT_EQ(protocol.CreateMsg(4)->msgId, 0U);
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

    std::set<std::uint32_t> ids[4];
    std::vector<std::jthread> threads;
    for (auto& own : ids) {
        threads.emplace_back([&own] {
            while (own.size() < 2000) {
                MsgTerminate message;
                message.Serialize(boost::make_shared<Serializer>());
                own.insert(message.msgId);
            }
        });
    }
    threads.clear();
    std::set<std::uint32_t> all;
    for (auto& own : ids) {
        all.merge(own);
    }
    EXPECT_EQ(all.size(), 8000U);
    EXPECT_EQ(*all.rbegin(), 8002U);
}

}  // namespace tvn::tests
