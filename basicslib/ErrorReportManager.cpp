#include "basicslib/ErrorReportManager.h"

#include <boost/make_shared.hpp>

#include "basicslib/Log.h"

namespace tvn
{
namespace
{

boost::shared_ptr<ErrorReport> NewReport(const ComString& msg, unsigned int line, const char* file)
{
    auto report = boost::make_shared<ErrorReport>();
    report->msg = msg;
    report->line = line;
    report->file = file;
    return report;
}

void LogUnexpected() noexcept
{
    LogError("[ErrorReportManager::ReportError] unexpected exception. asyncChannel = 0x%08X", 0U);
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
    try {
        ReportError(NewReport(exception.GetDescription(), line, file));
    } catch (...) {
        LogUnexpected();
    }
}

void ErrorReportManager::ReportError(unsigned int line, const char* file) noexcept
{
    try {
        ReportError(NewReport(ComString(), line, file));
    } catch (...) {
        LogUnexpected();
    }
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
