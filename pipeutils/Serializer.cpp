#include "pipeutils/Serializer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace tvn
{

void Serializer::AddUInt(unsigned int value)
{
    std::memcpy(NewRoom(sizeof value), &value, sizeof value);
    m_used += sizeof value;
}

void Serializer::AddString(const ComString& text)
{
    const auto* characters = static_cast<const wchar_t*>(text);
    AddBytes(characters, SysStringByteLen(const_cast<BSTR>(characters)));
}

void Serializer::AddBytes(const void* bytes, std::size_t count)
{
    unsigned char* const room = NewRoom(kLengthFieldSize + count);
    const auto length = static_cast<std::uint32_t>(count);
    std::memcpy(room, &length, sizeof length);  // little-endian, as the platform is
    if (count != 0) {
        std::memcpy(room + sizeof length, bytes, count);
    }
    m_used += sizeof length + count;
}

void Serializer::Serialize()
{
    NewRoom(0);
    m_size = static_cast<std::uint32_t>(m_used);
    std::memcpy(m_draft.get(), &m_size, sizeof m_size);
    m_buffer = std::move(m_draft);
    m_capacity = 0;
    m_used = kLengthFieldSize;
}

/// The place of the next `count` bytes.
unsigned char* Serializer::NewRoom(std::size_t count)
{
    if (count > std::numeric_limits<std::uint32_t>::max() - m_used) {
        _com_issue_error(E_OUTOFMEMORY);  // the length field could not tell it
    }
    const std::size_t needed = m_used + count;
    if (needed > m_capacity) {
        constexpr std::size_t kSmallMessage = 128;
        const std::size_t capacity = std::max({needed, 2 * m_capacity, kSmallMessage});
        const MessageBuffer larger = NewMessageBuffer(capacity);
        if (m_draft) {
            std::memcpy(larger.get(), m_draft.get(), m_used);
        }
        m_draft = larger;
        m_capacity = capacity;
    }
    return m_draft.get() + m_used;
}

}  // namespace tvn
