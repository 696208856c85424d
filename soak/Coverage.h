#pragma once

#include <cstddef>

namespace soak
{

/// Which branches of the decoders a message has taken. The decoders in this program are compiled
/// with a call at each branch; the calls come here. Used by one thread.
class Coverage
{
  public:
    /// Begins to record for one message.
    static void Begin() noexcept;

    /// Ends it. True when the message has gone from one branch to another where none before it
    /// has.
    static bool EndWithSomethingNew() noexcept;

    /// How many such steps are known.
    static std::size_t Known() noexcept;
};

}  // namespace soak
