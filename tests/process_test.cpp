// Processes: started, under other credentials too, waited for, ended, listed.

#include "process/Process.h"

#include <gmock/gmock.h>
#include <psapi.h>

#include "basicslib/StatusCode.h"
#include "process/ProcessFileName.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

TEST(Processes, AStartedProcessIsAwaitedAndEnded)
{
    const NoHandleStaysOpen handles;
    Process process;
    EXPECT_EQ(process.GetPid(), 0U);
    EXPECT_EQ(process.WaitForExit(INFINITE), sFail);
    EXPECT_EQ(process.Terminate(INFINITE), sFail);
    for (auto* const none : {INVALID_HANDLE_VALUE, static_cast<HANDLE>(nullptr)}) {
        Process invalid(boost::make_shared<Handle>(none), 5);
        EXPECT_EQ(invalid.GetPid(), 0U);
        EXPECT_EQ(invalid.WaitForExit(0), sFail);
        EXPECT_EQ(invalid.Terminate(0), sFail);
    }
    const std::string path = kStandinFolder + "\\iexplore.exe";
    const char* const name = "tvn_inheritable";
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    std::optional<Handle> own(std::in_place, CreateEventA(&inheritable, TRUE, FALSE, name));
    ASSERT_EQ(process.Start(path.c_str(), L"-free", kNone, L"D", L"P", INFINITE), sOk);
    own.reset();
    EXPECT_EQ(OpenEventA(SYNCHRONIZE, FALSE, name), nullptr) << "the process has inherited it";
    EXPECT_TRUE(g_imports.logon.empty()) << "domain and password alone ask for no logon";
    const Handle opened(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, process.GetPid()));
    EXPECT_TRUE(opened.IsValid());
    EXPECT_EQ(process.WaitForExit(0), sTimeout);
    EXPECT_EQ(process.Terminate(0), sOk);
    EXPECT_EQ(process.WaitForExit(5000), sOk);
    EXPECT_NE(process.GetPid(), 0U);
    DWORD code = 0;
    GetExitCodeProcess(opened.Get(), &code);
    EXPECT_EQ(code, 0xFFFFFFFF);
}

TEST(Processes, CredentialsGoToTheLogonCallAndAFailureToTheLog)
{
    const LogCapture log;
    Process process;
    EXPECT_EQ(process.Start(L"C:\\none\\talvern.exe", L"", kNone, kNone, kNone, 0), sFail);
    EXPECT_EQ(process.GetPid(), 0U);
    EXPECT_EQ(log.Lines(kError + "CreateProcess failed 0x0000000").size(), 1U);
    EXPECT_EQ(process.Start(L"C:\\app.exe", L" -x \"y z\"", L"U", L"D", L"P", 0), sFail);
    EXPECT_EQ(g_imports.logon, L"U|D|P|C:\\app.exe| -x \"y z\"|(null)|1|32|0|0|1|1");
    EXPECT_EQ(log.Count(kError + "CreateProcessWithLogonW failed 0x00000078"), 1);
    EXPECT_EQ(process.GetPid(), 0U);
    g_imports.logonSucceeds = true;
    EXPECT_EQ(process.Start(L"C:\\app.exe", kNone, L"U", kNone, kNone, 0), sOk);
    EXPECT_EQ(g_imports.logon.substr(0, 10), L"U|(null)||");
    EXPECT_EQ(process.Start(L"C:\\app.exe", kNone, L"U", L"", kNone, 0), sOk);
    EXPECT_EQ(g_imports.logon.substr(0, 5), L"U|||C") << "an empty domain is one, too";
    EXPECT_EQ(process.GetPid(), 4711U);
}

TEST(Processes, ProcessesAreListedByNameInAnyLetterCase)
{
    const auto first = Started("standins\\iexplore.exe");
    const auto second = Started("standins\\iexplore.exe");
    const auto other = Started("standins\\firefox.exe");
    EXPECT_TRUE(Eventually([] { return Running("IEXPLORE.EXE").size() == 2; }));
    Process process;
    Processes list(7);
    EXPECT_EQ(process.GetProcessesByName(L"iexplore.exe", list, 0), sOk);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(std::minmax({list[0]->GetPid(), list[1]->GetPid()}),
              std::minmax({first->GetPid(), second->GetPid()}));
    EXPECT_EQ(list[0]->Terminate(0), sOk);
    EXPECT_EQ(list[0]->WaitForExit(5000), sOk);
    EXPECT_EQ(process.GetProcessesByName(L"none.exe", list, 0), sOk);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(process.GetPid(), 0U) << "the object's own process has no part in it";
}

TEST(Processes, AProcessHasTheNameBehindTheLastSeparatorOfEitherKind)
{
    static const char* path;
    const auto named =
        TVN_REPLACE_IMPORT(K32GetModuleFileNameExA, [](HANDLE, HMODULE, LPSTR text, DWORD size) {
            return static_cast<DWORD>(std::string_view(path).copy(text, size));
        });
    const std::string longest = "C:\\" + std::string(500, 'a') + "\\b.exe";
    for (const char* each :
         {"C:\\a\\b.exe", "C:/a/b.exe", "C:\\a/b.exe", "C:/a\\b.exe", "b.exe", longest.c_str()}) {
        path = each;
        EXPECT_EQ(Narrow(GetProcessFileName(GetCurrentProcess())), "b.exe") << path;
    }
    path = "C:\\a\\";
    EXPECT_EQ(Narrow(GetProcessFileName(GetCurrentProcess())), "");
}

}  // namespace tvn::tests
