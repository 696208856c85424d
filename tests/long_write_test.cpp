// Commands that are longer than the pipe and outlast their time.

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

const std::string kDropped =
    kDebug + "[BaseProtocol::ReadPipe] fSuccess = 1, cbBuf = 10000, cbBytesRead = ";

class LongWrite : public testing::Test
{
  protected:
    int Run(DWORD timeout, const wchar_t* command, std::wstring_view text = {})
    {
        return client->Execute(timeout, command, text).status;
    }
    Bytes LongCommand(int id) const { return Message(id, "L", ToNarrow(longText)); }

    const std::wstring longText = std::wstring(3000, L'x');
    ScriptedPeer instance{"\\\\.\\pipe\\Talvern_long_write_test"};
    boost::shared_ptr<MacrosClient> client = boost::make_shared<MacrosClient>(
        "\\\\.\\pipe\\Talvern_long_write_test", boost::shared_ptr<Handle>(), true);
};

TEST_F(LongWrite, ArrivesWholeAndIsAwaitedByTheNextCommandWhichSendsNothingWhenItsOwnTimeEnds)
{
    const LogCapture log;
    instance.Perform({{LongCommand(1), {Message(1, sOk, "")}}});
    EXPECT_EQ(Run(5000, L"L", longText), sOk);
    const auto read = testing::StartsWith(kDebug + "[BaseProtocol::ReadPipe]");
    EXPECT_THAT(
        log.Lines(kDebug + "[BaseProtocol::"),
        testing::ElementsAre(kDebug + "[BaseProtocol::WritePipe] cbBuf = 1782, cbWritten = 1782 ",
                             read, read))
        << "once, and before its answer";
    EXPECT_EQ(Run(0, L"L", longText), sTimeout);
    EXPECT_EQ(log.Count(kDebug + "[CommandClient::Execute] sTimeout (cmd = L)"), 1);
    EXPECT_EQ(log.Lines(kDebug + "[CommandClient::Execute] sFail").size(), 0U);
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(Run(300, L"refused"), sTimeout); }), Within(250, 1500));
    // What was not sent used no id. The reading begins while the third command waits.
    const Script script = {{LongCommand(2), {Message(2, sOk, "late")}},
                           {Message(3, "N", ""), {Message(3, sOk, "")}}};
    CallLater(200, [&] { instance.Perform(script); });
    EXPECT_EQ(Run(5000, L"N"), sOk);
    EXPECT_EQ(log.Lines(kDebug + "[BaseProtocol::WritePipe]").size(), 3U) << "each command once";
}

TEST_F(LongWrite, DoesNotKeepARereadingInstanceFromSendingALongReply)
{
    // One that answers the first command only when it is asked the second time, and reads nothing
    // before its answer has been taken.
    EXPECT_EQ(Run(0, L"N"), sTimeout);
    const std::string stale(3000, 's');
    instance.Perform({{Message(1, "N", ""), {Message(1, sOk, stale)}, 100},
                      {LongCommand(2), {Message(2, sOk, "")}}});
    EXPECT_EQ(Run(5000, L"L", longText), sOk);
}

TEST_F(LongWrite, UnderWayDoesNotKeepTheNextCommandFromTakingALateReply)
{
    EXPECT_EQ(Run(0, L"N"), sTimeout);
    const std::string stale(300000, 's');
    instance.Perform({{Message(1, "N", ""), {Message(1, sOk, stale)}, 300},
                      {LongCommand(2)},
                      {Message(3, "N", ""), {Message(3, sOk, "")}}});
    EXPECT_EQ(Run(0, L"L", longText), sTimeout);
    const LogCapture log;
    EXPECT_EQ(Run(5000, L"N"), sOk);
    EXPECT_EQ(log.Count(kDropped + "27d0"), 0) << "the whole message, not its last piece";
}

TEST_F(LongWrite, KeepsItsBytesAsLongAsItIsUnderWay)
{
    // A system that copies nothing when a write begins takes the bytes when the other side reads.
    static std::tuple<const void*, DWORD, OVERLAPPED*> begun;
    const FreedMemoryIsGone gone;
    {
        const auto later = TVN_REPLACE_IMPORT(
            WriteFile,
            [](HANDLE, const void* bytes, DWORD count, DWORD*, OVERLAPPED* block) -> BOOL {
                begun = std::make_tuple(bytes, count, block);
                SetLastError(ERROR_IO_PENDING);
                return FALSE;
            });
        EXPECT_EQ(Run(0, L"L", longText), sTimeout);
    }
    EXPECT_EQ(Run(0, L"refused"), sTimeout);
    const auto& [bytes, count, block] = begun;
    const auto* const first = static_cast<const unsigned char*>(bytes);
    EXPECT_TRUE(Bytes(first, first + count) == LongCommand(1));
    block->InternalHigh = count;
    SetEvent(block->hEvent);
    instance.Perform({{Message(2, "N", ""), {Message(2, sOk, "")}}});
    EXPECT_EQ(Run(5000, L"N"), sOk);
}

TEST_F(LongWrite, IsNotHeldByAStaleReplyOfAnyLengthOrOfNone)
{
    EXPECT_EQ(Run(0, L"N"), sTimeout);
    EXPECT_EQ(Run(0, L"L", longText), sTimeout);
    const Bytes stale(64 << 20);
    instance.Perform({{Message(1, "N", ""), {Bytes(), stale}},
                      {LongCommand(2)},
                      {Message(3, "N", ""), {Message(3, sOk, "")}}});
    const LogCapture log;
    {
        const auto slow = TVN_REPLACE_IMPORT(
            ReadFile, [](HANDLE file, void* buffer, DWORD count, DWORD* read, OVERLAPPED* block) {
                g_imports.tickOffset += count > 0x1000 ? 500 : 0;
                return TVN_REAL_IMPORT(ReadFile)(file, buffer, count, read, block);
            });
        EXPECT_EQ(Run(500, L"refused"), sTimeout);
    }
    EXPECT_EQ(log.Count(kDropped + "4000000"), 0) << "all of it takes longer";
    EXPECT_EQ(Run(20000, L"N"), sOk) << "it goes on where the one before has left off";
    EXPECT_LT(log.Lines(kDebug + "[BaseProtocol::ReadPipe]").size(), 12U) << "a line each";
}

TEST_F(LongWrite, IsNoLongerAwaitedWhenThePipeOrTheWaitFails)
{
    EXPECT_EQ(Run(0, L"L", longText), sTimeout);
    const LogCapture log;
    {
        ImportWatch watch;
        watch.Fail("ReadFile", ERROR_BROKEN_PIPE);
        EXPECT_EQ(Run(1000, L"N"), sFail);
        watch.Fail("MsgWaitForMultipleObjectsEx", ERROR_NO_SYSTEM_RESOURCES);
        EXPECT_THROW(Run(1000, L"N"), Win32Exception) << "nothing has arrived";
    }
    EXPECT_EQ(log.Count(kDebug + "[BaseProtocol::ReadPipe] ReadFile (GetLastError() = 0x0000006d)"),
              1);
    static int early;
    early = 3;
    const auto wait = TVN_REPLACE_IMPORT(
        MsgWaitForMultipleObjectsEx, [](DWORD, const HANDLE*, DWORD, DWORD, DWORD) -> DWORD {
            return --early > 0 ? WAIT_TIMEOUT : WAIT_ABANDONED_0 + 5;
        });
    EXPECT_THROW(Run(1000, L"N"), AssertException) << "a wait has no such answer";
    EXPECT_EQ(early, 0) << "one that ends before its time goes on";
}

TEST_F(LongWrite, IsCancelledWithItsClientOnAnyThread)
{
    for (const bool elsewhere : {false, true}) {
        BytePeer other("\\\\.\\pipe\\Talvern_long_write_other");
        const NoHandleStaysOpen handles;
        client = boost::make_shared<MacrosClient>("\\\\.\\pipe\\Talvern_long_write_other",
                                                  boost::shared_ptr<Handle>(), true);
        EXPECT_THAT(Elapsed([&] { EXPECT_EQ(Run(300, L"L", longText), sTimeout); }),
                    Within(250, 1500));
        EXPECT_TRUE(other.ReadPart(4)) << "it is under way";
        EXPECT_THAT(Elapsed([&] { EXPECT_EQ(Run(300, L"refused"), sTimeout); }), Within(250, 1500));
        EXPECT_THAT(Elapsed([&] {
                        elsewhere ? std::thread([&] { client.reset(); }).join() : client.reset();
                    }),
                    Within(0, 1000));
    }
}

}  // namespace tvn::tests
