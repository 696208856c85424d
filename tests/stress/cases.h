// Tests that go over many cases: how many, which ones, and the line that repeats one.
#pragma once

#include <cstdint>
#include <functional>
#include <random>

namespace tvn::tests
{

/// How much more than usual is asked for: the whole number in TALVERN_SCALE, 1 without it.
std::uint64_t Scale();

/// One case of a test, with its number and a random engine of its own, which TALVERN_SEED begins
/// anew.
using Case = std::function<void(std::uint64_t number, std::mt19937& random)>;

/// `count` cases, of which nothing is left out or repeated; TALVERN_CASE names the only one to try.
/// The first case that fails ends the test, and a line that repeats it is printed; it is printed
/// for a crash, too.
void ForEachCase(std::uint64_t count, const Case& test);

}  // namespace tvn::tests
