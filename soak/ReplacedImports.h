#pragma once

#include <string>
#include <vector>

namespace soak
{

/// Puts code of this program in front of the system calls in its import table, through which the
/// product's code in it calls too. Every call passes on, unless `FailurePoint` says that it is the
/// one to fail: then it fails as the system's own would, with a failure's result and last error. A
/// call that gives something back is made all the same, and reported as failed.
class ReplacedImports
{
  public:
    /// Once for the process, before any other thread runs.
    static void Install();

    /// The system calls of the product for which nothing here knows how they fail; empty when the
    /// list is complete. The product's calls are read from its libraries when this is built.
    static std::vector<std::string> Unknown();

    /// How many of the product's system calls can be made to fail.
    static std::size_t CountThatFail();
};

}  // namespace soak
