#include "pipeutils/Serializer.h"

#include <boost/make_shared.hpp>
#include <cstring>
#include <limits>

namespace tvn
{
namespace
{

/// The length field and the sizes of texts are 32 bits wide.
std::uint32_t CheckedSize(std::size_t bytes)
{
    if (bytes > std::numeric_limits<std::uint32_t>::max()) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    return static_cast<std::uint32_t>(bytes);
}

}  // namespace

void Serializer::AddString(const ComString& text)
{
    const auto* characters = static_cast<const wchar_t*>(text);
    Add({etString, SysStringByteLen(const_cast<BSTR>(characters)), text, characters});
}

void Serializer::AddText(std::wstring_view text)
{
    Add({etString, CheckedSize(text.size() * sizeof text[0]), {}, text.data()});
}

void Serializer::Add(const SerializerEntry& entry)
{
    if (m_entries.empty()) {
        m_entries.reserve(8);  // enough for nearly all messages
    }
    m_entries.push_back(boost::make_shared<SerializerEntry>(entry));
}

void Serializer::Serialize()
{
    std::size_t size = kLengthFieldSize;
    for (const auto& entry : m_entries) {
        size += sizeof entry->m_value + (entry->m_type == etString ? entry->m_value : 0);
    }
    m_size = CheckedSize(size);
    m_buffer = NewMessageBuffer(size);
    unsigned char* at = m_buffer.get();
    const auto put = [&at](const void* bytes, std::size_t count) {
        if (count != 0) {
            std::memcpy(at, bytes, count);  // little-endian, as the platform is
            at += count;
        }
    };
    put(&m_size, sizeof m_size);
    for (const auto& entry : m_entries) {
        put(&entry->m_value, sizeof entry->m_value);
        put(entry->m_text, entry->m_type == etString ? entry->m_value : 0);
    }
    m_entries.clear();
}

}  // namespace tvn
