#pragma once

#include <cstddef>

namespace soak
{

/// This program's own operator new and delete, which serve the product's code in it too: they
/// measure, fail when they are to, and can keep what was freed inaccessible.
class OwnMemory
{
  public:
    /// What the product has allocated (see ProductCall.h), wherever it is freed.
    struct Figures
    {
        std::ptrdiff_t blocks = 0;  ///< not freed yet, COM strings included
        std::ptrdiff_t bytes = 0;   ///< not freed yet, without COM strings
        std::size_t largest = 0;    ///< the most asked for at once since `ForgetLargest`
    };
    static Figures Watched() noexcept;
    static void ForgetLargest() noexcept;

    /// Gives every block from here on pages of its own, with an inaccessible one behind it, that
    /// become inaccessible when the block is freed and are never used again. Any touch of freed
    /// memory, and of what is behind a block, then ends the program at that instruction.
    static void SetPagesOfTheirOwn(bool on) noexcept;

    /// For what allocates COM strings: one more or less.
    static void NoteComString(std::ptrdiff_t count, std::size_t size) noexcept;
};

}  // namespace soak
