#include "soak/Coverage.h"

#include <cstdint>

namespace soak
{
namespace
{

constexpr std::size_t kSteps = 1U << 14U;

bool g_known[kSteps];
std::size_t g_knownCount = 0;
bool g_recording = false;
bool g_new = false;
std::uintptr_t g_last = 0;

}  // namespace

void Coverage::Begin() noexcept
{
    g_recording = true;
    g_new = false;
    g_last = 0;
}

bool Coverage::EndWithSomethingNew() noexcept
{
    g_recording = false;
    return g_new;
}

std::size_t Coverage::Known() noexcept
{
    return g_knownCount;
}

/// What the compiler puts at each branch calls it by this name.
extern "C" void __sanitizer_cov_trace_pc()
{
    if (!g_recording) {
        return;
    }
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_return_address(0));
    const std::size_t step = (here ^ (g_last << 5U) ^ (g_last >> 3U)) % kSteps;
    g_last = here;
    if (!g_known[step]) {
        g_known[step] = true;
        ++g_knownCount;
        g_new = true;
    }
}

}  // namespace soak
