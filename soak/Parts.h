#pragma once

namespace soak
{

/// The parts that this program plays as a child of its own.

/// Serves the runner and an instance whose plays are answered with replies of hundreds of MiB.
inline constexpr const char* kPartBigReplies = "big-replies";
int ServeBigReplies();

/// Attaches an object of the DLL to the runner's instance, and ends with it: from main, with the
/// object alive; by ExitProcess, while a play on another thread waits.
inline constexpr const char* kPartEndAlive = "end-alive";
inline constexpr const char* kPartEndWaiting = "end-waiting";
inline constexpr int kEndedAsItShould = 7;
int EndWithLiveObject();
int EndWhilePlaying();

}  // namespace soak
