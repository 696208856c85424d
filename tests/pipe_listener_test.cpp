// Who serves a named pipe to many clients: how it is made, and what the system refuses.

#include <windows.h>

#include <comdef.h>
#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "basicslib/Exceptions.h"
#include "instance/InstanceWindow.h"
#include "instance/PipeListener.h"
#include "tests/byte_peer.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/replaced_imports.h"

namespace tvn::tests
{
namespace
{

constexpr const char* kName = "\\\\.\\pipe\\TalvernListenerTest";

bool FindsAnEnd(const char* name, DWORD time)
{
    return BytePeer::Open(name, time)->IsValid();
}

/// The server ends that are made while this lives: their modes, number, sizes and time.
class NewEnds
{
  public:
    NewEnds() { s_modes = {}; }

    static std::vector<std::string> Modes()
    {
        const std::lock_guard<std::mutex> lock(s_mutex);
        return s_modes;
    }

  private:
    static HANDLE WINAPI Make(LPCSTR name, DWORD openMode, DWORD pipeMode, DWORD count, DWORD out,
                              DWORD in, DWORD time, SECURITY_ATTRIBUTES* security)
    {
        char text[80];
        std::snprintf(text, sizeof text, "%lx %lx %lu %lu %lu %lu", openMode, pipeMode, count, out,
                      in, time);
        {
            const std::lock_guard<std::mutex> lock(s_mutex);
            s_modes.emplace_back(text);
        }
        return TVN_REAL_IMPORT(CreateNamedPipeA)(name, openMode, pipeMode, count, out, in, time,
                                                 security);
    }

    static std::mutex s_mutex;
    static std::vector<std::string> s_modes;
    ReplacedImport m_replaced = TVN_REPLACE_IMPORT(CreateNamedPipeA, &Make);
};

std::mutex NewEnds::s_mutex;
std::vector<std::string> NewEnds::s_modes;

}  // namespace

TEST(PipeListener, IsNotServedWithoutWhatTheSystemRefuses)
{
    for (const char* call : {"OpenProcessToken", "GetTokenInformation", "ConvertSidToStringSidA",
                             "ConvertStringSecurityDescriptorToSecurityDescriptorA",
                             "WaitNamedPipeA", "CreateNamedPipeA", "CreateThread"}) {
        const LogCapture log;
        ImportWatch watch;
        watch.Fail(call, ERROR_NOT_ENOUGH_MEMORY);
        instance::PipeListener listener(kName, instance::PipeAccess::kEveryone, [](const auto&) {});
        EXPECT_FALSE(listener.Start()) << call;
        EXPECT_FALSE(WaitNamedPipeA(kName, 1)) << call;
        EXPECT_THAT(log.Lines(kError), testing::Each(testing::EndsWith(" 0x00000008")));
    }
}

TEST(PipeListener, ServesANameThatNobodyServesAndNoOtherMachine)
{
    const NewEnds ends;
    // The listeners live as long as their process.
    const auto listener = [] {
        return new instance::PipeListener(kName, instance::PipeAccess::kOwnAccount,
                                          [](const auto&) {});
    };
    EXPECT_TRUE(listener()->Start());
    EXPECT_TRUE(Eventually([] { return NewEnds::Modes().size() == 4; }));
    const std::string further = "40000003 e 255 1024 1024 5000";
    EXPECT_THAT(NewEnds::Modes(),
                testing::ElementsAre("40080003 e 255 1024 1024 5000", further, further, further));
    const LogCapture log;
    EXPECT_FALSE(listener()->Start());
    EXPECT_THAT(log.Lines(kError), testing::ElementsAre(kError + kName + " is served already"));
}

TEST(PipeListener, TriesAgainWithAPauseWhenItCannotAwaitAClient)
{
    auto& listener =
        *new instance::PipeListener(kName, instance::PipeAccess::kOwnAccount, [](const auto&) {});
    ASSERT_TRUE(listener.Start());
    const NewEnds ends;
    g_imports.failCreateEvent = true;
    ASSERT_TRUE(FindsAnEnd(kName, 5000));
    Sleep(500);
    g_imports.failCreateEvent = false;
    EXPECT_LT(NewEnds::Modes().size(), 20U);
    EXPECT_TRUE(FindsAnEnd(kName, 5000));
}

TEST(PipeListener, ASessionThatFailsEndsAloneWithALine)
{
    static std::atomic<int> next = 0;
    auto& listener = *new instance::PipeListener(kName, instance::PipeAccess::kOwnAccount,
                                                 [](const boost::shared_ptr<Handle>&) {
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
                                                 });
    ASSERT_TRUE(listener.Start());
    const LogCapture log;
    const std::string line = kError + "A client cannot be served. ";
    for (const char* why :
         {"There is no memory.", "There is no memory.", "InvalidOperationException", "an error"}) {
        const auto lines = log.Lines(line).size();
        const auto client = BytePeer::Open(kName, 5000);
        ASSERT_TRUE(Eventually([&] { return log.Lines(line).size() > lines; })) << why;
        EXPECT_EQ(log.Lines(line).back(), line + why);
    }
}

TEST(PipeListener, IsServedAgainOnceTheSystemHasEndsToGive)
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

}  // namespace tvn::tests
