#include "instance/RunApart.h"

#include <windows.h>

#include <memory>
#include <utility>

namespace instance
{
namespace
{

using Work = std::function<void()>;

DWORD WINAPI RunWork(void* parameter)
{
    const std::unique_ptr<Work> work(static_cast<Work*>(parameter));
    (*work)();
    return 0;
}

}  // namespace

bool RunApart(std::function<void()> work)
{
    auto owned = std::make_unique<Work>(std::move(work));
    if (!QueueUserWorkItem(&RunWork, owned.get(), WT_EXECUTELONGFUNCTION)) {
        return false;
    }
    static_cast<void>(owned.release());  // the thread's now
    return true;
}

}  // namespace instance
