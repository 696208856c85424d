// The bytes that cross a process boundary.

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <functional>
#include <set>
#include <thread>

#include "basicslib/Exceptions.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/CommandsProtocol.h"
#include "runner/RunnerProtocol.h"
#include "tests/test_pipe.h"

using namespace tvn;
using tests::Bytes;
using tests::PipePair;
using tests::Words;

namespace
{

Bytes LaidOut(Serializer& serializer)
{
    serializer.Serialize();
    const MessageBuffer buffer = serializer.GetBuffer();
    return {buffer.get(), buffer.get() + serializer.GetSize()};
}

/// A reader over the fields of `message`, which end where the next page cannot be read.
class GuardedReader
{
  public:
    explicit GuardedReader(const Bytes& message, std::uint32_t claimed = 0)
    {
        constexpr std::size_t kPage = 0x1000;
        m_pages = static_cast<unsigned char*>(
            VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old = 0;
        VirtualProtect(m_pages + kPage, kPage, PAGE_NOACCESS, &old);
        unsigned char* fields = m_pages + kPage - (message.size() - 4);
        std::copy(message.begin() + 4, message.end(), fields);
        const auto size = claimed != 0 ? claimed : static_cast<std::uint32_t>(message.size());
        reader = boost::make_shared<Deserializer>(size, MessageBuffer(fields, [](void*) {}));
    }
    ~GuardedReader() { VirtualFree(m_pages, 0, MEM_RELEASE); }
    GuardedReader(const GuardedReader&) = delete;
    GuardedReader& operator=(const GuardedReader&) = delete;

    boost::shared_ptr<Deserializer> reader;

  private:
    unsigned char* m_pages;
};

ComString OfBytes(const char* bytes, unsigned int count)
{
    return {SysAllocStringByteLen(bytes, count), false};
}

}  // namespace

TEST(Wire, LaysFieldsOutBackToBackBehindTheLength)
{
    Serializer serializer;
    EXPECT_EQ(LaidOut(serializer), Words({4}));
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

TEST(Wire, ReadsBackWhatWasWrittenIncludingEmbeddedZerosAndOddLengths)
{
    Serializer serializer;
    serializer.AddInt(-5);
    serializer.AddString(ToComString(std::wstring_view(L"a\0b", 3)));
    serializer.AddString(OfBytes("xyz", 3));
    serializer.AddString(ComString());
    serializer.AddUInt(0x80000000);
    const GuardedReader guarded(LaidOut(serializer));
    int signedValue = 0;
    unsigned int unsignedValue = 0;
    ComString whole;
    ComString odd;
    ComString empty = L"replaced";
    guarded.reader->ReadInt(signedValue);
    guarded.reader->ReadString(whole);
    guarded.reader->ReadString(odd);
    guarded.reader->ReadString(empty);
    guarded.reader->ReadUInt(unsignedValue);
    EXPECT_EQ(signedValue, -5);
    EXPECT_EQ(ToView(whole), std::wstring_view(L"a\0b", 3));
    EXPECT_EQ(SysStringByteLen(odd), 3U);
    EXPECT_EQ(ToView(empty), L"");
    EXPECT_EQ(unsignedValue, 0x80000000);
}

TEST(Wire, NoReadPassesTheEndOfTheFields)
{
    ComString text;
    unsigned int number = 0;
    EXPECT_THROW(GuardedReader(Words({4})).reader->ReadUInt(number), ReadPipeError);
    EXPECT_THROW(GuardedReader(Words({0, 0xFFFFFFFF})).reader->ReadString(text), ReadPipeError);
    EXPECT_THROW(GuardedReader(Words({0, 5, 0})).reader->ReadString(text), ReadPipeError);
    for (const std::uint32_t tooSmall : {1U, 3U, 7U}) {
        EXPECT_THROW(GuardedReader(Words({0, 1}), tooSmall).reader->ReadUInt(number),
                     ReadPipeError);
    }
}

TEST(Wire, CommandsRepliesAndCallbacksHaveTheirBytes)
{
    const PipePair pipe;
    CommandsProtocol client(pipe.client->Get(), nullptr);
    CommandsProtocol instance(pipe.server->Get(), nullptr);

    client.SendCommand(1, L"tvnAuxAttachedCount", ComString(), 1000);
    Bytes command = Words({54, 1, 38});
    for (const char character : std::string("tvnAuxAttachedCount")) {
        command.insert(command.end(), {static_cast<unsigned char>(character), 0});
    }
    const Bytes noArgument = Words({0});
    command.insert(command.end(), noArgument.begin(), noArgument.end());
    EXPECT_EQ(pipe.Receive(), command);

    client.SendCommand(2, L"PLAY", L"x", 1000);
    unsigned int id = 0;
    ComString name;
    ComString argument;
    instance.ReceiveCommand(id, name, argument, 1000);
    EXPECT_EQ(id, 2U);
    EXPECT_EQ(ToView(name), L"PLAY");
    EXPECT_EQ(ToView(argument), L"x");

    client.SendCommand(3, L"", L"", 1000);
    pipe.Receive();
    CommandsProtocol backwards(pipe.client->Get(), nullptr);
    backwards.SendReply(1, 1, ComString(), 1000);
    EXPECT_EQ(pipe.Receive(), Words({16, 1, 1, 0}));
    backwards.SendReply(0xFFFFFFFE, -100, L"ab", 1000);
    EXPECT_EQ(pipe.Receive(), Words({20, 0xFFFFFFFE, 0xFFFFFF9C, 4, 0x00620061}));

    CallbackProtocol(pipe.client->Get(), nullptr).SendHwnd(0x400, 1000);
    EXPECT_EQ(pipe.Receive(), Words({8, 0x400}));
    pipe.Send(Words({8, 0xFFFE0400}));
    DWORD hwnd = 0;
    CallbackProtocol(pipe.client->Get(), nullptr).ReceiveHwnd(hwnd, 1000);
    EXPECT_EQ(hwnd, 0xFFFE0400);
}

// ---- runner messages

namespace
{

template <class Message, class Fill>
boost::shared_ptr<BaseMsg> Filled(Fill fill)
{
    auto message = boost::make_shared<Message>();
    message->msgId = 7;
    fill(*message);
    return message;
}

struct RunnerCase
{
    boost::shared_ptr<BaseMsg> message;
    Bytes bytes;
};

/// Every message with all of its fields set; texts of two characters stand as one word.
std::vector<RunnerCase> RunnerCases()
{
    constexpr std::uint32_t kA = 0x00410061;  // "aA"
    constexpr std::uint32_t kB = 0x00420062;  // "bB"
    const auto nothing = [](auto&) {
    };
    const auto failed = [](auto& reply) {
        reply.result = -3;
    };
    return {
        {Filled<MsgStart>([](MsgStart& start) {
             start.appPath = L"aA";
             start.cmdLine = L"bB";
             start.domain = L"aA";
             start.password = L"bB";
         }),
         Words({48, 1, 7, 4, kA, 4, kB, 0, 4, kA, 4, kB})},
        {Filled<MsgStartComplete>([](MsgStartComplete& reply) {
             reply.result = -7;
             reply.pid = 99;
             reply.processKey = L"aA";
         }),
         Words({28, 2, 7, 0xFFFFFFF9, 99, 4, kA})},
        {Filled<MsgTerminate>(nothing), Words({16, 3, 7, 0})},
        {Filled<MsgTerminateComplete>(failed), Words({16, 4, 7, 0xFFFFFFFD})},
        {Filled<MsgWaitForExit>([](MsgWaitForExit& wait) {
             wait.timeout = 0xFFFFFFFF;
             wait.processKey = L"aA";
         }),
         Words({24, 5, 7, 0xFFFFFFFF, 4, kA})},
        {Filled<MsgWaitForExitComplete>(failed), Words({16, 6, 7, 0xFFFFFFFD})},
        {Filled<MsgGetProcessesByName>([](auto& list) { list.processName = L"aA"; }),
         Words({20, 7, 7, 4, kA})},
        {Filled<MsgGetProcessesByNameComplete>([](MsgGetProcessesByNameComplete& reply) {
             reply.result = 1;
             reply.pids = {11, 22};
             reply.processKeys = {L"aA", L""};
         }),
         Words({40, 8, 7, 1, 2, 11, 4, kA, 22, 0})},
        {Filled<MsgGetInstancesByName>([](auto& list) { list.processName = L"bB"; }),
         Words({20, 9, 7, 4, kB})},
        {Filled<MsgGetInstancesByNameComplete>([](MsgGetInstancesByNameComplete& reply) {
             reply.result = 1;
             reply.pids = {11, 22};
             reply.processKeys = {L"", L"bB"};
             reply.windows = {0x80010040, 5};
         }),
         Words({48, 10, 7, 1, 2, 11, 0, 0x80010040, 22, 4, kB, 5})},
    };
}

}  // namespace

TEST(RunnerWire, EveryMessageHasItsBytesAndIsReadBackAsItself)
{
    const PipePair pipe;
    RunnerProtocol client(pipe.client->Get(), nullptr);
    std::uint32_t type = 0;
    for (const RunnerCase& wire : RunnerCases()) {
        SCOPED_TRACE(wire.message->GetType());
        EXPECT_EQ(wire.message->GetType(), ++type);
        client.WriteMsg(wire.message, nullptr, 1000);
        EXPECT_EQ(pipe.Receive(), wire.bytes);

        pipe.Send(wire.bytes);
        boost::shared_ptr<BaseMsg> read;
        client.ReadMsg(read, 1000);
        ASSERT_EQ(read->GetType(), type);
        client.WriteMsg(read, nullptr, 1000);
        EXPECT_EQ(pipe.Receive(), wire.bytes) << "a message read and written again";

        Bytes cut(wire.bytes.begin(), wire.bytes.end() - 4);
        cut[0] = static_cast<unsigned char>(cut.size());
        pipe.Send(cut);
        EXPECT_THROW(client.ReadMsg(read, 1000), ReadPipeError) << "too few fields";
    }
    for (const std::uint32_t unknown : {0U, 11U}) {
        EXPECT_FALSE(client.CreateMsg(unknown));
        pipe.Send(Words({12, unknown, 1}));
        boost::shared_ptr<BaseMsg> read;
        EXPECT_THROW(client.ReadMsg(read, 1000), ReadPipeError);
        EXPECT_FALSE(read);
    }
    EXPECT_EQ(static_cast<MsgStartComplete&>(*client.CreateMsg(2)).result, -1);
    EXPECT_EQ(client.CreateMsg(4)->msgId, 0U);
    EXPECT_EQ(client.CreateMsg(3)->msgId, 0xFFFFFFFF);
}

TEST(RunnerWire, ListsWithUnequalArraysAreWrittenEmpty)
{
    const PipePair pipe;
    RunnerProtocol client(pipe.client->Get(), nullptr);
    client.WriteMsg(Filled<MsgGetProcessesByNameComplete>([](auto& reply) {
                        reply.pids = {1, 2};
                        reply.processKeys.resize(3);
                    }),
                    nullptr, 1000);
    EXPECT_EQ(pipe.Receive(), Words({20, 8, 7, 0xFFFFFFFF, 0}));
    client.WriteMsg(Filled<MsgGetInstancesByNameComplete>([](auto& reply) {
                        reply.pids = {1, 2};
                        reply.processKeys.resize(2);
                        reply.windows = {1};
                    }),
                    nullptr, 1000);
    EXPECT_EQ(pipe.Receive(), Words({20, 10, 7, 0xFFFFFFFF, 0}));
}

TEST(RunnerWire, IdsGrowByOneAndAreKeptAndAreDifferentOnAllThreads)
{
    const PipePair pipe;
    RunnerProtocol client(pipe.client->Get(), nullptr);
    const auto first = boost::make_shared<MsgTerminate>();
    std::uint32_t id = 0;
    client.WriteMsg(first, &id, 1000);
    EXPECT_EQ(id, 1U) << "the first message of the process";
    client.WriteMsg(first, &id, 1000);
    EXPECT_EQ(id, 1U);
    client.WriteMsg(boost::make_shared<MsgTerminate>(), &id, 1000);
    EXPECT_EQ(id, 2U);

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
