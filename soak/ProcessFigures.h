#pragma once

#include <cstddef>

namespace soak
{

/// The handles that this process has open.
std::ptrdiff_t CountHandles();

/// The memory that belongs to this process alone, and the most that it ever had in use, in KiB.
std::ptrdiff_t PrivateKibibytes();
std::ptrdiff_t PeakKibibytes();

}  // namespace soak
