// Processes: started, under other credentials too, waited for, ended, listed.

#include <gmock/gmock.h>

#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "process/ProcessFactory.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"

using namespace tvn;
using testing::ElementsAre;
using tests::g_imports;

namespace
{

const ComString kNone;

ComString Browser()
{
    return (tests::StandinFolder() + "\\iexplore.exe").c_str();
}

}  // namespace

TEST(Processes, AnObjectWithoutAProcessAnswersSo)
{
    const auto process = ProcessFactory().NewProcess();
    EXPECT_EQ(process->GetPid(), 0U);
    EXPECT_EQ(process->WaitForExit(INFINITE), sFail);
    EXPECT_EQ(process->Terminate(INFINITE), sFail);
}

TEST(Processes, AStartedOneIsAwaitedAndEnded)
{
    const int before = tests::CountHandles();
    {
        Process process;
        ASSERT_EQ(process.Start(Browser(), L"-free", kNone, L"D", L"P", INFINITE), sOk);
        EXPECT_TRUE(g_imports.logon.empty()) << "domain and password alone ask for no logon";
        const Handle opened(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, process.GetPid()));
        EXPECT_TRUE(opened.IsValid());
        EXPECT_EQ(process.WaitForExit(0), sTimeout);
        EXPECT_EQ(process.Terminate(0), sOk);
        EXPECT_EQ(process.WaitForExit(5000), sOk);
        EXPECT_EQ(process.WaitForExit(0), sOk);
        EXPECT_NE(process.GetPid(), 0U);
        DWORD code = 0;
        GetExitCodeProcess(opened.Get(), &code);
        EXPECT_EQ(code, 0xFFFFFFFF);
    }
    EXPECT_EQ(tests::CountHandles(), before);
}

TEST(Processes, AStartThatFailsLogsTheSystemsCodeAndLeavesTheObjectEmpty)
{
    const tests::LogCapture log;
    Process process;
    EXPECT_EQ(process.Start(L"C:\\none\\talvern.exe", L"", kNone, kNone, kNone, 0), sFail);
    EXPECT_EQ(process.GetPid(), 0U);
    EXPECT_THAT(log.Lines()[0],
                testing::MatchesRegex(".\\.+tvn::error. CreateProcess failed 0x0000000\\d"));
}

TEST(Processes, OtherCredentialsGoToTheLogonCall)
{
    const tests::LogCapture log;
    Process process;
    EXPECT_EQ(process.Start(L"C:\\app.exe", L" -x \"y z\"", L"U", L"D", L"P", 0), sFail);
    EXPECT_THAT(g_imports.logon, ElementsAre(L"U", L"D", L"P", L"1", L"C:\\app.exe", L" -x \"y z\"",
                                             L"32", L"(null)", L"(null)", L"1", L"1"));
    EXPECT_TRUE(log.Has("[................tvn::error] CreateProcessWithLogonW failed 0x00000078"));
    EXPECT_EQ(process.GetPid(), 0U);

    g_imports.logonSucceeds = true;
    EXPECT_EQ(process.Start(L"C:\\app.exe", kNone, L"U", kNone, kNone, 0), sOk);
    EXPECT_EQ(g_imports.logon[1], L"(null)");
    EXPECT_EQ(process.GetPid(), 4711U);
}

TEST(Processes, AreListedByNameInAnyLetterCase)
{
    const tests::ChildProcess first(tests::StandinFolder() + "\\iexplore.exe");
    const tests::ChildProcess second(tests::StandinFolder() + "\\iexplore.exe");
    const tests::ChildProcess other(tests::StandinFolder() + "\\firefox.exe");
    Process process;
    std::vector<boost::shared_ptr<IProcess>> list(7);
    const auto pids = [&] {
        std::vector<DWORD> found;
        EXPECT_EQ(process.GetProcessesByName(L"IEXPLORE.EXE", list, 0), sOk);
        for (const auto& entry : list) {
            found.push_back(entry->GetPid());
        }
        return found;
    };
    EXPECT_TRUE(tests::Eventually([&] { return pids().size() == 2; }));
    EXPECT_THAT(pids(), testing::UnorderedElementsAre(first.Pid(), second.Pid()));
    EXPECT_EQ(list[0]->Terminate(0), sOk);
    EXPECT_EQ(list[0]->WaitForExit(5000), sOk);
    EXPECT_EQ(process.GetProcessesByName(L"none.exe", list, 0), sOk);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(process.GetPid(), 0U) << "the object's own process has no part in it";
}
