#include "browser/PipePair.h"

#include <string>

#include "basicslib/ComString.h"
#include "browser/BrowserError.h"
#include "pipeutils/PipeNames.h"

namespace browser
{
namespace
{

constexpr DWORD kBufferSize = 64 * 1024;

boost::shared_ptr<tvn::Handle> Checked(const boost::shared_ptr<tvn::Handle>& end)
{
    if (!end->IsValid()) {
        throw BrowserError("The pipes to the browser cannot be made (error " +
                           std::to_string(GetLastError()) + ").");
    }
    return end;
}

}  // namespace

PipePair NewPipePair(DWORD direction)
{
    const tvn::ComString unique = tvn::CreateUuidString();
    const std::wstring name = L"\\\\.\\pipe\\TalvernBrowser_" + std::wstring(tvn::ToView(unique));
    // The system's anonymous pipes have names, too, but their reads cannot be cancelled. This one
    // accepts one client: if another program connects first, the browser's end fails.
    const auto own = boost::make_shared<tvn::Handle>([&] {
        return CreateNamedPipeW(name.c_str(),
                                direction | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
                                kBufferSize, kBufferSize, 0, nullptr);
    });
    Checked(own);
    const auto browsers = boost::make_shared<tvn::Handle>([&] {
        const DWORD access = direction == PIPE_ACCESS_OUTBOUND ? GENERIC_READ : GENERIC_WRITE;
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        return CreateFileW(name.c_str(), access, 0, &inherited, OPEN_EXISTING, 0, nullptr);
    });
    return {own, Checked(browsers)};
}

}  // namespace browser
