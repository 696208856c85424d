// Exceptions and their texts, log lines as they reach the debug output, error reports, time
// budgets.

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <thread>

#include "basicslib/ErrorReportManager.h"
#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"

using namespace tvn;
using testing::ElementsAre;
using tests::g_imports;
using tests::LogCapture;
using tests::Narrow;

namespace
{

const std::string kError = "[................tvn::error] ";
const std::string kDebug = "[tvn::debug] ";

template <class Exception>
std::string Thrown(const Exception& exception)
{
    try {
        throw Exception(exception);
    } catch (const BaseException& caught) {
        return Narrow(caught.GetDescription());
    }
}

}  // namespace

TEST(Exceptions, DescribeThemselvesWithCodeLineAndFile)
{
    EXPECT_EQ(Thrown(BaseException("x", 1)), "BaseException");
    EXPECT_EQ(Thrown(InvalidOperationException()), "InvalidOperationException");
    EXPECT_EQ(Thrown(Win32Exception(5, "y", 12)),
              "Win32Exception( 0x00000005 ), line: 12, file: y");
    EXPECT_EQ(Thrown(PipeException(231, "y", 1)), "PipeException( 0x000000E7 ), line: 1, file: y");
    EXPECT_EQ(Thrown(ReadPipeTimeout(0x102, "x", 78)),
              "ReadPipeTimeout( 0x00000102 ), line: 78, file: x");
    EXPECT_EQ(Thrown(PipeInterrupted(0, "x", 1)),
              "PipeInterrupted( 0x00000000 ), line: 1, file: x");
    EXPECT_EQ(Thrown(ReadPipeError(0, "x", 1)), "ReadPipeError( 0x00000000 ), line: 1, file: x");
    EXPECT_EQ(Thrown(WritePipeError(0, "x", 1)), "WritePipeError( 0x00000000 ), line: 1, file: x");
    EXPECT_THROW(throw WritePipeError(0, "x", 1), PipeException);
}

TEST(Exceptions, AnAssertionNamesItsExpressionAndItsPlaceInTheTree)
{
    const int line = __LINE__ + 2;
    try {
        TVN_ASSERT(!"Unexpected return code");
        FAIL();
    } catch (const BaseException& exception) {
        EXPECT_EQ(Narrow(exception.GetDescription()),
                  "AssertException. Failed expression: !\"Unexpected return code\", file: "
                  "tests/diagnostics_test.cpp, line: " +
                      std::to_string(line));
    }
}

TEST(Exceptions, CutLongTexts)
{
    const std::string text(2000, 'n');
    EXPECT_EQ(Thrown(Win32Exception(1, text.c_str(), 2)),
              "Win32Exception( 0x00000001 ), line: 2, file: " + text.substr(0, 511));
    EXPECT_EQ(Thrown(AssertException(text.c_str(), text.c_str(), 3)),
              "AssertException. Failed expression: " + text.substr(0, 255) +
                  ", file: " + text.substr(0, 1023) + ", line: 3");
}

TEST(Log, WritesOneTaggedLineOfAtMost1023Characters)
{
    const LogCapture log;
    LogDebug("in DLLMain");
    LogError("%s|%S|%d|%x|%08X|%%", "narrow", L"wide", -1, 0xABU, 0xABU);
    const char* volatile noText = nullptr;
    const wchar_t* volatile noWideText = nullptr;
    LogProtocol("[C] %s %S", noText, noWideText);
    LogDebug("%S", std::wstring(1000000, L'm').c_str());
    EXPECT_THAT(
        log.Lines(),
        ElementsAre(kDebug + "in DLLMain", kError + "narrow|wide|-1|ab|000000AB|%",
                    "[tvn::HI_LEVEL_PROTOCOL] [C] (null) (null)", kDebug + std::string(1023, 'm')));
}

TEST(Log, ReplacesWhatTheCodePageLacks)
{
    const LogCapture log;
    std::wstring text =
        L"a\x4E2D"
        L"b";
    text += std::wstring(254, L'.') + L"\xD83D\xDE00" + L"end\xD800";  // a pair across two pieces
    LogProtocol("%S.", text.c_str());
    ASSERT_EQ(log.Lines().size(), 1U);
    const std::string line = log.Lines()[0];
    EXPECT_THAT(line, testing::StartsWith("[tvn::HI_LEVEL_PROTOCOL] a?b.."));
    EXPECT_THAT(line, testing::MatchesRegex(".*\\.\\?+end\\?+\\."));
}

TEST(ErrorReports, WriteTwoLinesEach)
{
    const LogCapture log;
    const std::string tid = std::to_string(GetCurrentThreadId());
    ErrorReportManager::ReportError(1, "F");
    ErrorReportManager::ReportError(Win32Exception(6, "y", 9), 58, "F");
    ErrorReportManager::ReportError(boost::shared_ptr<ErrorReport>());
    ErrorReportManager::ReportToDbgView(boost::shared_ptr<ErrorReport>());
    EXPECT_THAT(
        log.Lines(),
        ElementsAre(kError + "[ErrorReportManager] tid = " + tid + ", msg = (null)",
                    kError + "[ErrorReportManager] error handled at 1, F",
                    kError + "[ErrorReportManager] tid = " + tid +
                        ", msg = Win32Exception( 0x00000006 ), line: 9, file: y",
                    kError + "[ErrorReportManager] error handled at 58, F",
                    kError + "[ErrorReportManager::ReportError] 'error' cann't be NULL",
                    kError + "[ErrorReportManager::ReportToDbgView] 'error' cann't be NULL"));
}

TEST(ErrorReports, OfTwoThreadsDoNotInterleave)
{
    const LogCapture log;
    const auto report = [](unsigned int line) {
        for (int count = 0; count < 200; ++count) {
            ErrorReportManager::ReportError(line, "F");
        }
    };
    std::thread other(report, 1);
    report(2);
    other.join();
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 800U);
    const std::string own = kError +
                            "[ErrorReportManager] tid = " + std::to_string(GetCurrentThreadId()) +
                            ", msg = (null)";
    for (std::size_t index = 0; index < lines.size(); index += 2) {
        const char* expected = lines[index] == own ? "2" : "1";
        EXPECT_EQ(lines[index + 1],
                  kError + "[ErrorReportManager] error handled at " + expected + ", F");
    }
}

TEST(TimeBudgets, CountDownAcrossTheWrapOfTheTickCounter)
{
    g_imports.tickOffset = 0xFFFFFFFF - GetTickCount() - 50;  // wraps after 50 ms
    const TimeBudget spent(30);
    const TimeBudget running(60000);
    const TimeBudget endless(INFINITE);
    Sleep(120);
    EXPECT_EQ(spent.Remaining(), 0U);
    EXPECT_LE(running.Remaining(), 59900U);
    EXPECT_GT(running.Remaining(), 50000U);
    EXPECT_EQ(endless.Remaining(), INFINITE);
}

TEST(Handles, CloseOnlyWhatIsValid)
{
    const int before = tests::CountHandles();
    HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(tests::CountHandles(), before + 1);
    {
        const Handle none(nullptr);
        const Handle invalid(INVALID_HANDLE_VALUE);
        const Handle owner(event);
        EXPECT_FALSE(none.IsValid() || invalid.IsValid());
    }
    EXPECT_EQ(tests::CountHandles(), before);
}
