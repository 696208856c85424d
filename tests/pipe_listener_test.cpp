// Who serves a named pipe to many clients: how it is made, and what the system refuses.

#include <windows.h>

#include <comdef.h>
#include <gmock/gmock.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "basicslib/Exceptions.h"
#include "instance/PipeListener.h"
#include "tests/byte_peer.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"

namespace tvn::tests
{

constexpr const char* kListenerPipe = "\\\\.\\pipe\\TalvernListenerTest";

static bool FindsAnEnd(DWORD time)
{
    return BytePeer::Open(kListenerPipe, time)->IsValid();
}

/// A listener, which lives as long as its process.
static instance::PipeListener& NewListener(instance::PipeListener::Session session =
                                               [](const auto&) {})
{
    return *new instance::PipeListener(kListenerPipe, instance::PipeAccess::kOwnAccount,
                                       std::move(session));
}

/// Counts the server ends that are made, and refuses them on request.
static std::atomic<int> g_newEnds = 0;
static std::atomic<bool> g_refuses = false;

constexpr auto kCountEnd = [](auto... arguments) -> HANDLE {
    ++g_newEnds;
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return g_refuses ? INVALID_HANDLE_VALUE : TVN_REAL_IMPORT(CreateNamedPipeA)(arguments...);
};

TEST(PipeListener, IsNotServedWithoutWhatTheSystemRefuses)
{
    for (const char* call : {"OpenProcessToken", "GetTokenInformation", "ConvertSidToStringSidA",
                             "ConvertStringSecurityDescriptorToSecurityDescriptorA",
                             "WaitNamedPipeA", "CreateNamedPipeA", "CreateThread"}) {
        const LogCapture log;
        ImportWatch watch;
        watch.Fail(call, ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_FALSE(NewListener().Start()) << call;
        EXPECT_FALSE(WaitNamedPipeA(kListenerPipe, 1)) << call;
        EXPECT_THAT(log.Lines(kError), testing::Each(testing::EndsWith(" 0x00000008")));
    }
}

TEST(PipeListener, ServesANameThatNobodyServesAndNoOtherMachine)
{
    static std::pair<DWORD, DWORD> first;  // how the first end is opened, and its pipe
    const auto makes =
        TVN_REPLACE_IMPORT(CreateNamedPipeA, [](LPCSTR name, DWORD open, DWORD pipe, auto... more) {
            first = first.first == 0 ? std::make_pair(open, pipe) : first;
            return TVN_REAL_IMPORT(CreateNamedPipeA)(name, open, pipe, more...);
        });
    EXPECT_TRUE(NewListener().Start());
    EXPECT_EQ(first.first,
              PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE);
    EXPECT_EQ(first.second, static_cast<DWORD>(PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE |
                                               PIPE_REJECT_REMOTE_CLIENTS));
    const LogCapture log;
    EXPECT_FALSE(NewListener().Start());
    EXPECT_THAT(log.Lines(kError),
                testing::ElementsAre(kError + kListenerPipe + " is served already"));
}

TEST(PipeListener, TriesAgainWithAPauseWhenItCannotAwaitAClient)
{
    ASSERT_TRUE(NewListener().Start());
    const auto counts = TVN_REPLACE_IMPORT(CreateNamedPipeA, kCountEnd);
    {
        const auto none =
            TVN_REPLACE_IMPORT(CreateEventA, [](auto...) -> HANDLE { return nullptr; });
        ASSERT_TRUE(FindsAnEnd(5000));
        Sleep(500);
    }
    EXPECT_LT(g_newEnds, 20);
    EXPECT_TRUE(FindsAnEnd(5000));
}

TEST(PipeListener, ASessionThatFailsEndsAloneWithALine)
{
    static std::atomic<int> next = 0;
    ASSERT_TRUE(NewListener([](const boost::shared_ptr<Handle>&) {
                    switch (next++) {
                        case 0:
                            throw std::bad_alloc();
                        case 1:
                            throw _com_error(E_OUTOFMEMORY);
                        case 2:
                            throw InvalidOperationException();
                        default:
                            throw std::runtime_error("an error");
                    }
                }).Start());
    const LogCapture log;
    const std::string line = kError + "A client cannot be served. ";
    for (const char* why :
         {"There is no memory.", "There is no memory.", "InvalidOperationException", "an error"}) {
        const auto lines = log.Lines(line).size();
        const auto client = BytePeer::Open(kListenerPipe, 5000);
        ASSERT_TRUE(Eventually([&] { return log.Lines(line).size() > lines; })) << why;
        EXPECT_EQ(log.Lines(line).back(), line + why);
    }
}

TEST(PipeListener, IsServedAgainOnceTheSystemHasEndsToGive)
{
    static std::vector<boost::shared_ptr<Handle>> served;
    ASSERT_TRUE(
        NewListener([](const boost::shared_ptr<Handle>& pipe) { served.push_back(pipe); }).Start());
    Sleep(200);
    const auto counts = TVN_REPLACE_IMPORT(CreateNamedPipeA, kCountEnd);
    g_refuses = true;
    int found = 0;
    while (FindsAnEnd(200)) {
        ++found;
    }
    EXPECT_GE(found, 1);
    EXPECT_GE(g_newEnds, 1);
    g_refuses = false;
    EXPECT_TRUE(FindsAnEnd(2000));
}

}  // namespace tvn::tests
