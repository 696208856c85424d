#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "basicslib/ComString.h"
#include "pipeutils/MessageBuffer.h"

namespace tvn
{

/// Reads the fields of one received message in the order in which the protocol defines them. Field
/// types are not verified, because they are not on the wire. A read past the fields received throws
/// ReadPipeError with ERROR_INVALID_DATA. Used by one thread.
class Deserializer
{
  public:
    /// `size` is the length field of the message, which counts its own four bytes; `buffer` holds
    /// the fields after it, at least `size` - 4 bytes.
    Deserializer(std::uint32_t size, const MessageBuffer& buffer);

    void ReadUInt(unsigned int& value) { std::memcpy(&value, Take(sizeof value), sizeof value); }
    void ReadInt(int& value) { std::memcpy(&value, Take(sizeof value), sizeof value); }

    /// Replaces `text` by a new string of exactly the bytes received, even if their number is odd.
    /// Throws an out-of-memory exception.
    void ReadString(ComString& text);

    /// A view of a text in the buffer, valid as long as the buffer is held; half a character at the
    /// end is left out. The fields before it must take an even number of bytes.
    std::wstring_view ReadText();

    /// Bytes that are left to be read.
    std::uint32_t GetLeft() const noexcept { return m_size - kLengthFieldSize - m_pos; }

  private:
    /// Returns the next `count` bytes and moves the position past them.
    const unsigned char* Take(std::uint32_t count);

    std::uint32_t m_size;  // at least that of the length field
    MessageBuffer m_buffer;
    std::uint32_t m_pos = 0;
};

}  // namespace tvn
