#include "pipeutils/Serializer.h"

#include <boost/make_shared.hpp>
#include <cstring>
#include <limits>

namespace tvn
{
namespace
{

constexpr std::uint32_t kIntegerSize = 4;

/// Puts fields one behind the other. The platform is little-endian, as the wire is.
class FieldWriter
{
  public:
    explicit FieldWriter(unsigned char* position) : m_position(position) {}

    void WriteInteger(std::uint32_t value) { WriteBytes(&value, sizeof value); }

    void WriteBytes(const void* bytes, std::uint32_t count)
    {
        if (count != 0) {
            std::memcpy(m_position, bytes, count);
            m_position += count;
        }
    }

  private:
    unsigned char* m_position;
};

std::uint32_t ByteLength(const ComString& text)
{
    return SysStringByteLen(text);
}

}  // namespace

void Serializer::AddUInt(unsigned int value)
{
    m_entries.push_back(boost::make_shared<SerializerEntry>(value));
}

void Serializer::AddInt(int value)
{
    AddUInt(static_cast<unsigned int>(value));
}

void Serializer::AddString(const ComString& text)
{
    m_entries.push_back(boost::make_shared<SerializerEntry>(text));
}

void Serializer::Serialize()
{
    std::uint64_t size = kIntegerSize;
    for (const auto& entry : m_entries) {
        size += kIntegerSize;
        if (entry->m_type == etString) {
            size += ByteLength(entry->m_string);
        }
    }
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        _com_issue_error(E_OUTOFMEMORY);  // the length field could not tell it
    }
    m_buffer = NewMessageBuffer(static_cast<std::size_t>(size));
    m_size = static_cast<std::uint32_t>(size);

    FieldWriter writer(m_buffer.get());
    writer.WriteInteger(m_size);
    for (const auto& entry : m_entries) {
        if (entry->m_type == etString) {
            const std::uint32_t bytes = ByteLength(entry->m_string);
            writer.WriteInteger(bytes);
            writer.WriteBytes(static_cast<const wchar_t*>(entry->m_string), bytes);
        } else {
            writer.WriteInteger(entry->m_value);
        }
    }
    m_entries.clear();
}

}  // namespace tvn
