#include "process/ProcessCreator.h"

#include <string>

#include "basicslib/Log.h"
#include "basicslib/StatusCode.h"

namespace tvn
{
namespace
{

template <class StartupInfo>
StartupInfo ShownNormally()
{
    StartupInfo info = {};
    info.cb = sizeof info;
    info.dwFlags = STARTF_USESHOWWINDOW;
    info.wShowWindow = SW_SHOWNORMAL;
    return info;
}

}  // namespace

int ProcessCreator::Create(const ComString& appPath, const ComString& cmdLine,
                           const ComString& user, const ComString& domain,
                           const ComString& password, DWORD timeoutMs,
                           PROCESS_INFORMATION& processInfo)
{
    const ProcessParams params = {user, domain, password, appPath, cmdLine, timeoutMs};
    return params.user.length() > 0 ? CreateWithLogon(params, processInfo)
                                    : CreatePlainly(params, processInfo);
}

int ProcessCreator::CreateWithLogon(const ProcessParams& params, PROCESS_INFORMATION& processInfo)
{
    auto startupInfo = ShownNormally<STARTUPINFOW>();
    std::wstring cmdLine(ToView(params.cmdLine));     // the call may write to it
    const wchar_t* const password = params.password;  // the call does not accept null
    if (!CreateProcessWithLogonW(params.user, params.domain, password == nullptr ? L"" : password,
                                 LOGON_WITH_PROFILE, params.appPath, cmdLine.data(),
                                 NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startupInfo,
                                 &processInfo)) {
        LogError("CreateProcessWithLogonW failed 0x%08x",
                 static_cast<unsigned int>(GetLastError()));
        return sFail;
    }
    return sOk;
}

int ProcessCreator::CreatePlainly(const ProcessParams& params, PROCESS_INFORMATION& processInfo)
{
    auto startupInfo = ShownNormally<STARTUPINFOA>();
    std::string cmdLine = ToNarrow(ToView(params.appPath));
    cmdLine += ' ';
    cmdLine += ToNarrow(ToView(params.cmdLine));
    if (!CreateProcessA(nullptr, cmdLine.data(), nullptr, nullptr, FALSE, NORMAL_PRIORITY_CLASS,
                        nullptr, nullptr, &startupInfo, &processInfo)) {
        LogError("CreateProcess failed 0x%08x", static_cast<unsigned int>(GetLastError()));
        return sFail;
    }
    return sOk;
}

}  // namespace tvn
