#include "basicslib/ErrorReportManager.h"

#include <boost/make_shared.hpp>

#include "basicslib/Log.h"

namespace tvn
{
namespace
{

void LogUnexpected() noexcept
{
    LogError("[ErrorReportManager::ReportError] unexpected exception. asyncChannel = 0x%08X", 0U);
}

/// Makes a report of the text that `describe` returns and writes it.
template <class Describe>
void Report(Describe describe, unsigned int line, const char* file) noexcept
{
    try {
        const auto report = boost::make_shared<ErrorReport>();
        report->msg = describe();
        report->line = line;
        report->file = file;
        ErrorReportManager::ReportError(report);
    } catch (...) {
        LogUnexpected();
    }
}

}  // namespace

CriticalSection ErrorReportManager::s_lock;

void ErrorReportManager::ReportError(const boost::shared_ptr<ErrorReport>& report) noexcept
{
    const SyncScope scope(s_lock.Get());
    try {
        if (!report) {
            LogError("[ErrorReportManager::ReportError] 'error' cann't be NULL");
        } else {
            ReportToDbgView(report);
        }
    } catch (...) {
        LogUnexpected();
    }
}

void ErrorReportManager::ReportError(const BaseException& exception, unsigned int line,
                                     const char* file) noexcept
{
    Report([&exception] { return exception.GetDescription(); }, line, file);
}

void ErrorReportManager::ReportError(unsigned int line, const char* file) noexcept
{
    Report([] { return ComString(); }, line, file);
}

void ErrorReportManager::ReportToDbgView(const boost::shared_ptr<ErrorReport>& report) noexcept
{
    try {
        if (!report) {
            LogError("[ErrorReportManager::ReportToDbgView] 'error' cann't be NULL");
            return;
        }
        const char* msg =
            report->msg.length() == 0 ? nullptr : static_cast<const char*>(report->msg);
        LogError("[ErrorReportManager] tid = %d, msg = %s", static_cast<int>(report->tid), msg);
        LogError("[ErrorReportManager] error handled at %d, %s", static_cast<int>(report->line),
                 report->file.c_str());
    } catch (...) {
        LogError(
            "[ErrorReportManager::ReportToDbgView] unexpected exception. asyncChannel = 0x%08X",
            0U);
    }
}

}  // namespace tvn
