#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string_view>
#include <vector>

#include "basicslib/ComString.h"
#include "pipeutils/MessageBuffer.h"

namespace tvn
{

/// The kind of a field. Only the writer knows it; it is not in the message.
enum EntryType : std::uint32_t { etInteger = 1, etString = 2 };

/// A field of a message that is not serialized yet.
struct SerializerEntry
{
    EntryType m_type;
    std::uint32_t m_value;  ///< the number, or the size of the text in bytes
    ComString m_string;     ///< holds the text if it is a COM string
    const void* m_text;     ///< the bytes of the text, held here or by the caller
};

/// Serializes one message: its total length N as four little-endian bytes that count themselves,
/// then the fields back to back in the order in which they are added. A number takes four bytes; a
/// text its size in bytes as a number, then that many bytes of UTF-16LE. Used by one thread, for
/// one message. Every operation throws an out-of-memory exception when there is no memory.
class Serializer
{
  public:
    Serializer() = default;
    Serializer(const Serializer&) = delete;
    Serializer& operator=(const Serializer&) = delete;

    void AddUInt(unsigned int value) { Add({etInteger, value, {}, nullptr}); }
    void AddInt(int value) { AddUInt(static_cast<unsigned int>(value)); }

    /// Shares the text. A null string is written like an empty one.
    void AddString(const ComString& text);

    /// The characters must stay as they are until `Serialize` has copied them.
    void AddText(std::wstring_view text);

    /// Builds the message from the fields added so far, in one block of memory, and begins a new
    /// message.
    void Serialize();

    /// The completed message, shared; empty before `Serialize`.
    MessageBuffer GetBuffer() const { return m_buffer; }

    /// The total length N of the completed message; 0 before `Serialize`.
    std::uint32_t GetSize() const { return m_size; }

  private:
    void Add(const SerializerEntry& entry);

    MessageBuffer m_buffer;
    std::uint32_t m_size = 0;
    std::vector<boost::shared_ptr<SerializerEntry>> m_entries;
};

}  // namespace tvn
