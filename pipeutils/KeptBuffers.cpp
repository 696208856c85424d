#include "pipeutils/KeptBuffers.h"

#include <algorithm>

namespace tvn
{

MessageBuffer KeptBuffers::Take(DWORD size)
{
    constexpr DWORD kSmallSpare = 0x10000;

    Kept* left = nullptr;
    for (Kept& kept : m_kept) {
        if (kept.size > size && kept.size - size > std::max(size, kSmallSpare)) {
            kept = {};  // free a buffer that is much larger than needed
        }
        if (kept.buffer.use_count() <= 1 && (left == nullptr || kept.size >= size)) {
            left = &kept;
        }
    }
    if (left == nullptr) {
        return NewMessageBuffer(size);
    }
    if (!left->buffer || left->size < size) {
        *left = {};  // free it first, so that both never exist at once
        *left = {NewMessageBuffer(size), size};
    }
    return left->buffer;
}

}  // namespace tvn
