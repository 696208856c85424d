#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <list>

#include "basicslib/ComString.h"
#include "pipeutils/MessageBuffer.h"

namespace tvn
{

/// The kind of a field. It lives only in the writer: nothing on the wire tells kinds apart.
enum EntryType : std::uint32_t {
    etInteger = 1,  ///< four bytes, little-endian
    etString = 2,   ///< a byte count of four bytes, then that many bytes of UTF-16LE text
};

/// One field that waits to be written. A text is shared with the caller, not copied.
struct SerializerEntry
{
    explicit SerializerEntry(std::uint32_t value) : m_type(etInteger), m_value(value) {}
    explicit SerializerEntry(const ComString& text) : m_type(etString), m_value(0), m_string(text)
    {}

    EntryType m_type;
    std::uint32_t m_value;
    ComString m_string;
};

/// Lays out one message: its total length N as four little-endian bytes that count themselves, then
/// the fields back to back in the order in which they were added. Used by one thread, for one
/// message. Every operation throws an out-of-memory exception when there is no memory.
class Serializer
{
  public:
    void AddUInt(unsigned int value);
    void AddInt(int value);

    /// A null string is written like an empty one. The text must not be changed before `Serialize`.
    void AddString(const ComString& text);

    /// Lays the added fields out and forgets them. A buffer laid out earlier is released.
    void Serialize();

    /// The laid-out message, shared; empty before `Serialize`.
    MessageBuffer GetBuffer() const { return m_buffer; }

    /// The total length N of the laid-out message; 0 before `Serialize`.
    std::uint32_t GetSize() const { return m_size; }

  private:
    MessageBuffer m_buffer;
    std::uint32_t m_size = 0;
    std::list<boost::shared_ptr<SerializerEntry>> m_entries;
};

}  // namespace tvn
