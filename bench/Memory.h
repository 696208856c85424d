#pragma once

#include <cstddef>

namespace bench
{

/// Bytes of this process's memory, as the system counts them.
struct Memory
{
    std::size_t own = 0;           ///< that no other process and no file shares
    std::size_t resident = 0;      ///< all that is in memory, programs' files included
    std::size_t peakResident = 0;  ///< the most of it since the process started
};

/// Throws std::runtime_error when the system does not tell.
Memory CurrentMemory();

}  // namespace bench
