// Exceptions and their texts, log lines as they reach the debug output, error reports, time
// budgets.

#include <comdef.h>
#include <gmock/gmock.h>

#include <thread>

#include "basicslib/ComString.h"
#include "basicslib/ErrorReportManager.h"
#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;
using testing::MatchesRegex;

template <class Exception>
static std::string Thrown(const Exception& exception)
{
    try {
        throw Exception(exception);
    } catch (const BaseException& caught) {
        return Narrow(caught.GetDescription());
    }
}

TEST(Exceptions, AnExceptionDescribesItselfWithCodeLineAndFile)
{
    const std::string text(2000, 'n');
    const std::pair<std::string, std::string> cases[] = {
        {Thrown(BaseException("x", 1)), "BaseException"},
        {Thrown(InvalidOperationException()), "InvalidOperationException"},
        {Thrown(Win32Exception(5, "y", 12)), "Win32Exception( 0x00000005 ), line: 12, file: y"},
        {Thrown(PipeException(231, "y", 1)), "PipeException( 0x000000E7 ), line: 1, file: y"},
        {Thrown(ReadPipeTimeout(258, "x", 7)), "ReadPipeTimeout( 0x00000102 ), line: 7, file: x"},
        {Thrown(PipeInterrupted(0, "x", 1)), "PipeInterrupted( 0x00000000 ), line: 1, file: x"},
        {Thrown(ReadPipeError(0, "x", 1)), "ReadPipeError( 0x00000000 ), line: 1, file: x"},
        {Thrown(WritePipeError(0, "x", 1)), "WritePipeError( 0x00000000 ), line: 1, file: x"},
        {Thrown(Win32Exception(1, text.c_str(), 2)),
         "Win32Exception( 0x00000001 ), line: 2, file: " + text.substr(0, 511)},
        {Thrown(AssertException(text.c_str(), text.c_str(), 3)),
         "AssertException. Failed expression: " + text.substr(0, 255) +
             ", file: " + text.substr(0, 1023) + ", line: 3"},
    };
    for (const auto& [thrown, expected] : cases) {
        EXPECT_EQ(thrown, expected);
    }
}

TEST(Log, ACallWritesOneTaggedLineOfAtMost1023Characters)
{
    const LogCapture log;
    LogDebug("in DLLMain");
    LogError("%s|%S|%d|%x|%08X|%%", "narrow", L"wide", -1, 0xABU, 0xABU);
    const char* volatile noText = nullptr;
    const wchar_t* volatile noWideText = nullptr;
    LogProtocol("[C] %s %S", noText, noWideText);
    {
        // Of a text much longer than the line the end is not read: it is inaccessible.
        const FreedMemoryIsGone gone;
        const std::vector<wchar_t> endless(0x1000, L'm');
        LogDebug("%S", endless.data());
    }
    EXPECT_THAT(log.Lines(),
                ElementsAre(kDebug + "in DLLMain", kError + "narrow|wide|-1|ab|000000AB|%",
                            kTrace + "(null) (null)", kDebug + std::string(1023, 'm')));
    // A pair of surrogates across two pieces, and half a one: where the code page is UTF-8 the
    // first is a character.
    const std::wstring text = L"a\x4E2D" + std::wstring(253, L'.') + L"\xD83D\xDE00" + L"end\xD800";
    LogDebug("%S.", text.c_str());
    EXPECT_THAT(log.Lines().back(), MatchesRegex(".*a\\?\\.+\\?+end\\?+\\."));
    const auto utf8 = TVN_REPLACE_IMPORT(WideCharToMultiByte, [](UINT, auto... arguments) {
        return TVN_REAL_IMPORT(WideCharToMultiByte)(CP_UTF8, arguments...);
    });
    LogDebug("%S.", text.c_str());
    EXPECT_EQ(log.Lines().back(), kDebug + "a\xE4\xB8\xAD" + std::string(253, '.') +
                                      "\xF0\x9F\x98\x80" + "end\xEF\xBF\xBD.");
}

TEST(ErrorReports, AReportIsTwoLinesThatNoOtherReportDivides)
{
    const LogCapture log;
    const std::string start = kError + "[ErrorReportManager] ";
    const std::string own = start + "tid = " + std::to_string(GetCurrentThreadId()) + ", msg = ";
    ErrorReportManager::ReportError(Win32Exception(6, "y", 9), 58, "F");
    ErrorReportManager::ReportError(boost::shared_ptr<ErrorReport>());
    ErrorReportManager::ReportToDbgView(boost::shared_ptr<ErrorReport>());
    EXPECT_THAT(
        log.Lines(),
        ElementsAre(own + "Win32Exception( 0x00000006 ), line: 9, file: y",
                    start + "error handled at 58, F",
                    kError + "[ErrorReportManager::ReportError] 'error' cann't be NULL",
                    kError + "[ErrorReportManager::ReportToDbgView] 'error' cann't be NULL"));
    const auto report = [](unsigned int line) {
        for (int count = 0; count < 200; ++count) {
            ErrorReportManager::ReportError(line, "F");
        }
    };
    std::thread other(report, 1);
    report(2);
    other.join();
    const auto lines = log.Lines(start);
    ASSERT_EQ(lines.size(), 802U);
    for (std::size_t index = 2; index < lines.size(); index += 2) {
        const char* line = lines[index] == own + "(null)" ? "2" : "1";
        EXPECT_EQ(lines[index + 1], start + "error handled at " + line + ", F");
    }
}

TEST(ErrorReports, WhatCannotBeReportedForLackOfMemoryIsSaid)
{
    const LogCapture log;
    const Win32Exception exception(6, "y", 9);
    ImportWatch watch;
    watch.Fail("new", ERROR_NOT_ENOUGH_MEMORY);
    ErrorReportManager::ReportError(exception, 58, "F");
    watch.Fail("new", ERROR_NOT_ENOUGH_MEMORY);
    ErrorReportManager::ReportError(58, "F");
    const std::string line =
        kError +
        "[ErrorReportManager::ReportError] unexpected exception. asyncChannel = 0x00000000";
    EXPECT_THAT(log.Lines(), ElementsAre(line, line));
}

TEST(Memory, ATextThatDoesNotFitIsRefused)
{
    // NOLINTNEXTLINE(bugprone-string-constructor): refused before any of it is read
    EXPECT_THROW(ToComString(std::wstring_view(L"", 0x40000000)), _com_error);
}

TEST(TimeBudgets, ABudgetCountsDownWhenTheTickCounterWraps)
{
    g_imports.tickOffset = 0xFFFFFFFF - GetTickCount() - 50;  // wraps after 50 ms
    const TimeBudget spent(30);
    const TimeBudget running(60000);
    const TimeBudget endless(INFINITE);
    Sleep(120);
    EXPECT_EQ(spent.Remaining(), 0U);
    EXPECT_THAT(running.Remaining(), Within(50000, 59990));
    EXPECT_EQ(endless.Remaining(), INFINITE);
}

}  // namespace tvn::tests
