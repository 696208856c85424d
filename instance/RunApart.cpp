#include "instance/RunApart.h"

#include <windows.h>

#include <memory>
#include <utility>

#include "basicslib/Handle.h"

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
    const tvn::Handle thread(CreateThread(nullptr, 0, &RunWork, owned.get(), 0, nullptr));
    if (thread.IsValid()) {
        static_cast<void>(owned.release());  // now owned by the thread
    }
    return thread.IsValid();
}

}  // namespace instance
