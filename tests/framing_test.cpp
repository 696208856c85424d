// Messages on a pipe: one write and two timed reads, and what becomes of malformed ones.

#include <boost/weak_ptr.hpp>

#include "basicslib/Exceptions.h"
#include "pipeutils/CommandsProtocol.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"
#include "tests/scripted_peer.h"

namespace tvn::tests
{

using testing::ElementsAre;

class Framing : public testing::Test
{
  protected:
    /// The next message, put together again.
    Bytes Read(DWORD timeout = 1000)
    {
        DWORD size = 0;
        MessageBuffer buffer;
        const DWORD received = protocol.ReadMessage(size, buffer, timeout);
        Bytes bytes = Words({size});
        bytes.insert(bytes.end(), buffer.get(), buffer.get() + received);
        return bytes;
    }

    std::optional<ScriptedPeer> peer{std::in_place};
    const boost::shared_ptr<Handle> pipe = peer->Client();
    const boost::shared_ptr<Handle> interrupt = NewEvent();
    BaseProtocol protocol{pipe->Get(), interrupt->Get()};
    Bytes large = Bytes(16 << 20, 0);
};

TEST_F(Framing, AMessageIsReadInTwoPartsAndWrittenInOne)
{
    const LogCapture log;
    peer->Send(Words({16, 1, 2, 3}));
    peer->Send(Words({8, 4}));
    EXPECT_EQ(Read(), Words({16, 1, 2, 3}));
    EXPECT_EQ(Read(0), Words({8, 4}));
    protocol.WritePipe(Words({12, 5, 6}).data(), 12, 0);
    EXPECT_EQ(peer->Receive(), Words({12, 5, 6}));
    const std::string write = kDebug + "[BaseProtocol::WritePipe] cbBuf = ";
    const std::string read = kDebug + "[BaseProtocol::ReadPipe] fSuccess = 1, cbBuf = ";
    EXPECT_THAT(log.Lines(), ElementsAre(read + "4, cbBytesRead = 4", read + "10, cbBytesRead = c",
                                         read + "4, cbBytesRead = 4", read + "8, cbBytesRead = 4",
                                         write + "c, cbWritten = c "));
    EXPECT_EQ(protocol.ReadPipe(nullptr, 0, INFINITE).bytes, 0U) << "nothing asked, nothing waited";
    peer->Send(Words({4}));
    EXPECT_EQ(Read(0), Words({4})) << "a length alone, which takes nothing of the next message";
}

TEST_F(Framing, AMessageIsWhatThePipeHoldsWhateverItsLengthFieldSays)
{
    const Bytes claims[] = {Words({0xFFFFFFFF, 1}), Words({0x7000, 1}), Words({16, 1}),
                            Words({8, 1, 2}),       Words({1, 1, 2}),   Words({0, 1, 2, 3}),
                            Words({0xFFFFFFFF}),    Words({0})};
    for (const Bytes& bytes : claims) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        peer->Send(bytes);
        g_largestAllocation = 0;
        EXPECT_EQ(Read(0), bytes) << "it does not wait for what is claimed";
        EXPECT_LT(g_largestAllocation, 0x10000U) << "nor make room for it";
        peer->Send(Words({8, 7}));
        EXPECT_EQ(Read(), Words({8, 7}));
    }
    for (const Bytes& bytes : {Bytes{1, 2}, Bytes()}) {
        peer->Send(bytes);
        EXPECT_THROW(Read(5000), ReadPipeError) << "not even a length";
        peer->Send(Words({8, 7}));
        EXPECT_EQ(Read(), Words({8, 7}));
    }
}

TEST_F(Framing, RoomIsUsedAgainOnceNobodyHoldsItAndGivenBackWhenItIsMuchTooLarge)
{
    std::vector<MessageBuffer> held;
    for (DWORD number = 0; number < 4; ++number) {
        peer->Send(Words({8, number}));
        DWORD size = 0;
        protocol.ReadMessage(size, held.emplace_back(), 1000);
    }
    for (DWORD number = 0; number < 4; ++number) {
        EXPECT_EQ(*reinterpret_cast<DWORD*>(held[number].get()), number) << "still held";
    }
    const unsigned char* const kept[] = {held[0].get(), held[1].get()};
    held.clear();
    DWORD size = 0;
    MessageBuffer buffer;
    peer->Send(Words({8, 1}));
    protocol.ReadMessage(size, buffer, 1000);
    EXPECT_THAT(buffer.get(), testing::AnyOf(kept[0], kept[1]));

    peer->Perform({{std::nullopt, {Message(std::string(500000, 'm'))}}});
    protocol.ReadMessage(size, buffer, 5000);
    EXPECT_EQ(size, 1000008U);
    const boost::weak_ptr<unsigned char> longOne = buffer;
    peer->Send(Words({8, 1}));
    protocol.ReadMessage(size, buffer, 1000);
    EXPECT_TRUE(longOne.expired());
}

TEST_F(Framing, AMessageThatFindsNoNextBlockLeavesNothingToTheNext)
{
    // The length field claims so much that the pipe is asked how much there is.
    peer->Send(Words({0x100000, 1}));
    DWORD size = 0;
    MessageBuffer buffer;
    {
        ImportWatch watch;
        watch.Fail("PeekNamedPipe", ERROR_BROKEN_PIPE);
        EXPECT_THROW(protocol.ReadMessage(size, buffer, 0), ReadPipeError);
    }
    EXPECT_EQ(protocol.ReadPipe(&size, sizeof size, 0).bytes, 4U) << "its rest is still there";

    for (const std::size_t more : {0U, 300000U}) {
        Bytes message = Words({16, 1, 2, 3});
        message.resize(message.size() + more);
        peer->Perform({{std::nullopt, {message, Words({8, 7})}}});
        EXPECT_TRUE(Eventually([&] {
            return PeekNamedPipe(pipe->Get(), nullptr, 0, nullptr, &size, nullptr) && size != 0;
        }));
        {
            ImportWatch watch;
            watch.Fail("new", ERROR_NOT_ENOUGH_MEMORY);
            EXPECT_THROW(protocol.ReadMessage(size, buffer, 0), std::bad_alloc);
        }
        EXPECT_EQ(Read(5000), Words({8, 7}));
    }
}

TEST_F(Framing, WhatATornMessageLeavesIsTakenOut)
{
    // Between the reads of the length and of the rest the message is withdrawn, and nothing, or a
    // longer one, takes its place.
    const auto slow = TVN_REPLACE_IMPORT(
        ReadFile, [](HANDLE file, void* buffer, DWORD count, DWORD* read, OVERLAPPED* block) {
            const BOOL success = TVN_REAL_IMPORT(ReadFile)(file, buffer, count, read, block);
            const DWORD error = GetLastError();
            if (count == 4) {
                Sleep(200);
            }
            SetLastError(error);
            return success;
        });
    const Step takenBack = {std::nullopt, {Message(std::string(3000, 'm'))}, 0, 100};
    peer->Perform({takenBack});
    EXPECT_THAT(Elapsed([&] { EXPECT_THROW(Read(5000), ReadPipeError); }), Within(0, 3000));
    peer->Perform({takenBack,
                   {std::nullopt, {Message(std::string(8000, 'm'))}},
                   {std::nullopt, {Words({8, 7})}}});
    Read(5000);
    EXPECT_EQ(Read(5000), Words({8, 7}));
}

TEST_F(Framing, AReadThatEndsOnTimeOrWithTheInterruptTakesNothing)
{
    EXPECT_THROW(Read(0), ReadPipeTimeout);
    EXPECT_THAT(Elapsed([&] { EXPECT_THROW(Read(300), ReadPipeTimeout); }), Within(250, 2000));
    SetEvent(interrupt->Get());
    EXPECT_THROW(Read(INFINITE), PipeInterrupted);
    peer->Send(Words({8, 1}));
    EXPECT_EQ(Read(INFINITE), Words({8, 1})) << "what is there is read all the same";
}

TEST_F(Framing, AWriteThatEndsOnTimeOrWithTheInterruptLeavesNothingPending)
{
    protocol.WritePipe(Words({4}).data(), 4, 0);  // makes what is kept for later writes
    peer->Receive();
    const ImportWatch watch;
    const auto error = [&](DWORD timeout) -> DWORD {
        try {
            protocol.WritePipe(large.data(), static_cast<DWORD>(large.size()), timeout);
            return 0;
        } catch (const WritePipeError& exception) {
            return exception.GetError();
        }
    };
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(error(300), 258U); }), Within(250, 3000));
    SetEvent(interrupt->Get());
    EXPECT_EQ(error(INFINITE), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    EXPECT_EQ(watch.IsOpen().handles, 0);
    {
        const auto less = TVN_REPLACE_IMPORT(WriteFile,
                                             [](HANDLE file, const void* bytes, DWORD count,
                                                DWORD* written, OVERLAPPED* block) -> BOOL {
                                                 return TVN_REAL_IMPORT(WriteFile)(
                                                     file, bytes, count - 1, written, block);
                                             });
        EXPECT_THROW(protocol.WritePipe(Words({4}).data(), 4, 0), WritePipeError);
    }
    peer.reset();
    EXPECT_NE(error(1000), 0U);
    EXPECT_THROW(Read(), ReadPipeError) << "a closed pipe fails both ways";
}

TEST_F(Framing, AWriteThatIsAwaitedWithoutAnyTimeDropsWhatIsThereButNotWithoutEnd)
{
    ScriptedPeer flooding("\\\\.\\pipe\\TalvernTestFlood", 0x4000);
    const auto end = flooding.Client();
    CommandsProtocol writer(end->Get(), nullptr);
    EXPECT_TRUE(writer.SendCommand(1, L"L", std::wstring(0x4000, L'x'), 0));
    constexpr DWORD kSent = 200;
    for (DWORD number = 0; number < kSent; ++number) {
        flooding.Send(Words({8, number}));
    }
    EXPECT_FALSE(writer.SendCommand(2, L"N", {}, 0));
    DWORD next[2] = {};
    EXPECT_EQ(writer.ReadPipe(next, sizeof next, 0).bytes, 8U) << "some are left";
    EXPECT_GT(next[1], 0U) << "and some are not";
}

}  // namespace tvn::tests
