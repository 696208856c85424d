// What this process holds, and what it has asked for.
#pragma once

#include <boost/noncopyable.hpp>
#include <cstddef>

namespace tvn::tests
{

/// The handles that this process has open, without events and semaphores: the runtime makes some of
/// these whenever two threads meet at one of its locks. (ImportWatch counts those of a thread.)
std::ptrdiff_t CountHandles();

/// The most bytes asked for at once, and all that were asked for, since a test last set these to 0.
extern std::size_t g_largestAllocation;
extern std::size_t g_allocatedBytes;

/// While one exists, freed memory is inaccessible and is not reused: code that touches it ends the
/// program, with a line that says so. Slow, and good for some million blocks.
class FreedMemoryIsGone : boost::noncopyable
{
  public:
    FreedMemoryIsGone();
    ~FreedMemoryIsGone();

  private:
    void* m_handler;
};

/// Remembers the open handles, and compares them with those there are in the end.
class NoHandleStaysOpen : boost::noncopyable
{
  public:
    NoHandleStaysOpen();
    ~NoHandleStaysOpen();

  private:
    std::ptrdiff_t m_before;
};

}  // namespace tvn::tests
