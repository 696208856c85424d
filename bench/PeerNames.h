#pragma once

#include <windows.h>

#include <string>

#include "basicslib/InstanceProtocol.h"

namespace bench
{

/// The class of every window that a peer makes, by which its parent finds them.
inline constexpr const wchar_t* kPeerWindowClass = L"TalvernBenchPeer";

/// The command pipe of the instance with this window.
inline std::string PipeNameOf(HWND window)
{
    return R"(\\.\pipe\Talvern_)" + std::to_string(static_cast<int>(tvn::WindowValue(window)));
}

}  // namespace bench
