#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace soak
{

struct OtherApartmentResult
{
    std::uint64_t done = 0;
    std::uint64_t good = 0;
    std::ptrdiff_t handles = 0;
    std::ptrdiff_t kibibytes = 0;
    std::string wrong;  ///< the first thing
};

/// Makes the registered scripting object on the calling thread, a single-threaded apartment, and
/// has `rounds` rounds of all methods called through `IDispatch` from the apartment of another
/// thread, while this one dispatches messages. The other side of the pipes must be there.
OtherApartmentResult CallFromOtherApartment(std::uint64_t rounds);

}  // namespace soak
