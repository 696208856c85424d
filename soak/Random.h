#pragma once

#include <cstddef>
#include <cstdint>

namespace soak
{

/// The numbers of one case: the same seed and case give the same numbers on every machine. Used by
/// one thread.
class Random
{
  public:
    Random(std::uint64_t seed, std::uint64_t caseNumber) noexcept
        : m_state(seed * 0x9E3779B97F4A7C15U + caseNumber * 0xD1B54A32D192ED03U)
    {}

    std::uint64_t Next() noexcept
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

    /// From 0 to `count` - 1; `count` is at least 1.
    std::size_t Below(std::size_t count) noexcept
    {
        return static_cast<std::size_t>(((Next() >> 32U) * count) >> 32U);
    }

    bool OneIn(std::size_t count) noexcept { return Below(count) == 0; }

    template <class Type, std::size_t Count>
    const Type& Pick(const Type (&values)[Count]) noexcept
    {
        return values[Below(Count)];
    }

  private:
    std::uint64_t m_state;
};

}  // namespace soak
