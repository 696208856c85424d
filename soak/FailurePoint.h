#pragma once

#include <cstddef>

namespace soak
{

/// Counts the allocations and system calls of the product (see ProductCall.h), and makes one of
/// them fail. What allocates and what stands in the imports' place asks here. One for the process.
class FailurePoint
{
  public:
    /// From here on, the `number`th call (from 1) fails; with 0 none does.
    static void Arm(std::size_t number) noexcept;

    /// Asked at each call, on any thread: true when it is the one that has to fail. `what`, a
    /// constant, names the call; `allocates` tells that it is a lack of memory.
    static bool Strikes(const char* what, bool allocates) noexcept;

    /// What failed since it was armed last; a null pointer when nothing has yet.
    static const char* Struck() noexcept;
    static bool StruckMemory() noexcept;
};

}  // namespace soak
