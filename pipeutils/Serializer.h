#pragma once

#include <cstdint>
#include <string_view>

#include "basicslib/ComString.h"
#include "pipeutils/MessageBuffer.h"

namespace tvn
{

/// Lays out one message: its total length N as four little-endian bytes that count themselves, then
/// the fields back to back in the order in which they are added. A number takes four bytes; a text
/// its count of bytes as a number, then that many bytes of UTF-16LE. Used by one thread, for one
/// message. Every operation throws an out-of-memory exception when there is no memory.
class Serializer
{
  public:
    /// Bytes that a text of this length takes.
    static constexpr std::size_t TextSize(std::size_t characters) noexcept
    {
        return kLengthFieldSize + characters * sizeof(wchar_t);
    }

    Serializer() noexcept = default;

    /// Makes room for fields of this many bytes in all, so that the message takes one allocation.
    explicit Serializer(std::size_t fieldBytes) { NewRoom(fieldBytes); }

    void AddUInt(unsigned int value);
    void AddInt(int value) { AddUInt(static_cast<unsigned int>(value)); }

    /// A null string is written like an empty one.
    void AddString(const ComString& text);
    void AddText(std::wstring_view text) { AddBytes(text.data(), text.size() * sizeof text[0]); }

    /// Completes the message of the fields added so far, and begins a new one.
    void Serialize();

    /// The completed message, shared; empty before `Serialize`.
    MessageBuffer GetBuffer() const { return m_buffer; }

    /// The total length N of the completed message; 0 before `Serialize`.
    std::uint32_t GetSize() const { return m_size; }

  private:
    void AddBytes(const void* bytes, std::size_t count);
    unsigned char* NewRoom(std::size_t count);

    MessageBuffer m_buffer;
    std::uint32_t m_size = 0;
    MessageBuffer m_draft;
    std::size_t m_capacity = 0;
    std::size_t m_used = kLengthFieldSize;
};

}  // namespace tvn
