// Messages on a pipe: one write and two timed reads, and what becomes of malformed ones.

#include <gmock/gmock.h>

#include <thread>

#include "basicslib/Exceptions.h"
#include "pipeutils/BaseProtocol.h"
#include "pipeutils/PipeNames.h"
#include "tests/log_capture.h"
#include "tests/surroundings.h"
#include "tests/test_pipe.h"

using namespace tvn;
using tests::Bytes;
using tests::Elapsed;
using tests::PipePair;
using tests::Words;

namespace
{

class Framing : public testing::Test
{
  protected:
    PipePair pipe;
    BaseProtocol protocol{pipe.client->Get(), nullptr};
    DWORD size = 0;
    MessageBuffer buffer;
};

}  // namespace

TEST(PipeNames, AreThoseThatTheOtherSidesKnow)
{
    EXPECT_EQ(ToView(CallbackPipeName(L"a_b")), L"\\\\.\\pipe\\Talvern_a_b");
    EXPECT_EQ(ToView(InstancePipeName(0x10040)), L"\\\\.\\pipe\\Talvern_65600");
    EXPECT_EQ(ToView(InstancePipeName(0x80000001)), L"\\\\.\\pipe\\Talvern_-2147483647");
    EXPECT_EQ(ToView(RunnerPipeName()), L"\\\\.\\pipe\\tvnRunner");
    EXPECT_EQ(CallbackPipeName(std::wstring(600, L'u').c_str()).length(), 511U);
}

TEST(PipeNames, IdentifiersAreFreshAndHoldNoHyphen)
{
    const std::string id = tests::Narrow(CreateUuidString());
    EXPECT_THAT(id, testing::MatchesRegex("\\w+"));
    for (std::size_t at = 0; at < id.size(); ++at) {
        EXPECT_EQ(id[at] == '_', at == 8 || at == 13 || at == 18 || at == 23) << at;
    }
    EXPECT_EQ(id.size(), 36U);
    EXPECT_NE(id, tests::Narrow(CreateUuidString()));
}

TEST_F(Framing, AMessageIsReadInTwoPartsAndLeavesNothingBehind)
{
    const tests::LogCapture log;
    pipe.Send(Words({16, 1, 2, 3}));
    pipe.Send(Words({8, 4}));
    protocol.ReadMessage(size, buffer, 1000);
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(Bytes(buffer.get(), buffer.get() + 12), Words({1, 2, 3}));
    protocol.ReadMessage(size, buffer, 0);
    EXPECT_EQ(size, 8U);
    EXPECT_EQ(Bytes(buffer.get(), buffer.get() + 4), Words({4}));
    EXPECT_TRUE(log.Has("[tvn::debug] [BaseProtocol::WritePipe] cbBuf = 10, cbWritten = 10 "));
    EXPECT_TRUE(
        log.Has("[tvn::debug] [BaseProtocol::ReadPipe] fSuccess = 1, cbBuf = 4, cbBytesRead = 4"));
    EXPECT_TRUE(
        log.Has("[tvn::debug] [BaseProtocol::ReadPipe] fSuccess = 1, cbBuf = 10, cbBytesRead = c"));
    EXPECT_EQ(protocol.ReadPipe(&size, 0, INFINITE).bytes, 0U) << "no bytes asked, nothing waited";
}

TEST_F(Framing, AMessageThatArrivesLateOrIsLargerThanThePipeIsReadWhole)
{
    Bytes large = Words({0x400000});
    large.resize(0x400000, 0x5A);
    std::thread writer([&] {
        Sleep(200);
        pipe.Send(large);
    });
    protocol.ReadMessage(size, buffer, 5000);
    writer.join();
    EXPECT_EQ(size, large.size());
    EXPECT_TRUE(std::equal(large.begin() + 4, large.end(), buffer.get()));
}

TEST_F(Framing, AReadThatGetsNothingEndsOnTime)
{
    EXPECT_THROW(protocol.ReadMessage(size, buffer, 0), ReadPipeTimeout);
    const auto elapsed =
        Elapsed([&] { EXPECT_THROW(protocol.ReadMessage(size, buffer, 300), ReadPipeTimeout); });
    EXPECT_GE(elapsed, 250);
    EXPECT_LT(elapsed, 2000);
    pipe.Send(Words({8, 9}));
    protocol.ReadMessage(size, buffer, 0);
    EXPECT_EQ(size, 8U) << "the reads that timed out have taken nothing";
}

TEST_F(Framing, MalformedMessagesAreTakenOutAndReported)
{
    const Bytes malformed[] = {
        Words({0xFFFFFFFF, 1}), Words({16, 1}), Words({8, 1, 2}), Words({0, 1}), {1, 2}, {},
    };
    for (const Bytes& bytes : malformed) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        pipe.Send(bytes);
        const auto elapsed =
            Elapsed([&] { EXPECT_THROW(protocol.ReadMessage(size, buffer, 5000), ReadPipeError); });
        EXPECT_LT(elapsed, 3000) << "it does not wait for what was claimed";
        pipe.Send(Words({8, 7}));
        protocol.ReadMessage(size, buffer, 1000);
        EXPECT_EQ(Bytes(buffer.get(), buffer.get() + 4), Words({7}));
    }
    boost::shared_ptr<Deserializer> message;
    pipe.Send(Words({4}));
    protocol.ReadMessage(message, 0);
    unsigned int value = 0;
    EXPECT_THROW(message->ReadUInt(value), ReadPipeError) << "a length alone has no fields";
}

TEST_F(Framing, AnInterruptEndsAWaitButNotAReadOfWhatIsThere)
{
    const Handle interrupt(CreateEventA(nullptr, TRUE, TRUE, nullptr));
    BaseProtocol interruptible(pipe.client->Get(), interrupt.Get());
    EXPECT_THROW(interruptible.ReadMessage(size, buffer, INFINITE), PipeInterrupted);
    pipe.Send(Words({8, 1}));
    interruptible.ReadMessage(size, buffer, INFINITE);
    EXPECT_EQ(size, 8U);
    ResetEvent(interrupt.Get());
    EXPECT_THROW(interruptible.ReadMessage(size, buffer, 50), ReadPipeTimeout);

    std::vector<char> large(1 << 20);
    SetEvent(interrupt.Get());
    EXPECT_THROW(interruptible.WritePipe(large.data(), 1 << 20, INFINITE), WritePipeError);
}

TEST_F(Framing, AWriteThatIsNotTakenEndsOnTimeAndLeavesNothingPending)
{
    const int before = tests::CountHandles();
    std::vector<char> large(16 << 20);
    const auto elapsed = Elapsed([&] {
        try {
            protocol.WritePipe(large.data(), static_cast<DWORD>(large.size()), 300);
            FAIL();
        } catch (const WritePipeError& error) {
            EXPECT_EQ(error.GetError(), static_cast<DWORD>(WAIT_TIMEOUT));
        }
    });
    EXPECT_GE(elapsed, 250);
    EXPECT_LT(elapsed, 3000);
    EXPECT_EQ(tests::CountHandles(), before);
}

TEST_F(Framing, AClosedPipeFailsBothWays)
{
    pipe.server.reset();
    EXPECT_THROW(protocol.WritePipe("x", 1, 1000), WritePipeError);
    EXPECT_THROW(protocol.ReadMessage(size, buffer, 1000), ReadPipeError);
}
