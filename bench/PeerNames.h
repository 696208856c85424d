#pragma once

namespace bench
{

/// The class of every window that a peer makes, by which its parent finds them.
inline constexpr const wchar_t* kPeerWindowClass = L"TalvernBenchPeer";

}  // namespace bench
