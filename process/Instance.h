#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "process/IProcess.h"

namespace tvn
{

/// One running browser instance: its process and the hidden window that names its command pipe.
/// Made once and never changed; held by shared pointer.
struct Instance
{
    Instance(const boost::shared_ptr<IProcess>& process_, HWND hwnd_)
        : process(process_), pid(process_->GetPid()), hwnd(hwnd_)
    {}

    const boost::shared_ptr<IProcess> process;
    const DWORD pid;
    const HWND hwnd;
};

}  // namespace tvn
