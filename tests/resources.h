// What this process holds, and what it has asked for.
#pragma once

#include <cstddef>

namespace tvn::tests
{

/// The handles that this process has open.
std::ptrdiff_t CountHandles();

/// The most bytes asked for at once since a test last set this to 0.
extern std::size_t g_largestAllocation;

/// Remembers the open handles, and compares them with those there are in the end.
class NoHandleStaysOpen
{
  public:
    NoHandleStaysOpen() : m_before(CountHandles()) {}
    ~NoHandleStaysOpen();
    NoHandleStaysOpen(const NoHandleStaysOpen&) = delete;
    NoHandleStaysOpen& operator=(const NoHandleStaysOpen&) = delete;

  private:
    std::ptrdiff_t m_before;
};

}  // namespace tvn::tests
