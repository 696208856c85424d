#include "soak/FailurePoint.h"

#include "soak/ProductCall.h"

namespace soak
{
namespace
{

std::size_t g_left = 0;
const char* g_struck = nullptr;
bool g_struckMemory = false;

}  // namespace

void FailurePoint::Arm(std::size_t number) noexcept
{
    g_left = number;
    g_struck = nullptr;
    g_struckMemory = false;
}

bool FailurePoint::Strikes(const char* what, bool allocates) noexcept
{
    if (g_left == 0 || !ProductCall::IsInside() || --g_left != 0) {
        return false;
    }
    g_struck = what;
    g_struckMemory = allocates;
    return true;
}

const char* FailurePoint::Struck() noexcept
{
    return g_struck;
}

bool FailurePoint::StruckMemory() noexcept
{
    return g_struckMemory;
}

}  // namespace soak
