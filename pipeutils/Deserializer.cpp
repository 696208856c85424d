#include "pipeutils/Deserializer.h"

#include <cstring>

#include "basicslib/Exceptions.h"

namespace tvn
{
namespace
{

constexpr std::uint32_t kLengthFieldSize = 4;

}  // namespace

Deserializer::Deserializer(std::uint32_t size, const MessageBuffer& buffer)
    : m_size(size), m_buffer(buffer)
{}

void Deserializer::ReadUInt(unsigned int& value)
{
    std::memcpy(&value, Take(sizeof value), sizeof value);
}

void Deserializer::ReadInt(int& value)
{
    std::memcpy(&value, Take(sizeof value), sizeof value);
}

void Deserializer::ReadString(ComString& text)
{
    unsigned int bytes = 0;
    ReadUInt(bytes);
    const unsigned char* characters = Take(bytes);
    BSTR string = SysAllocStringByteLen(reinterpret_cast<const char*>(characters), bytes);
    if (string == nullptr) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    text.Attach(string);
}

const unsigned char* Deserializer::Take(std::uint32_t count)
{
    const std::uint32_t end = m_size < kLengthFieldSize ? 0 : m_size - kLengthFieldSize;
    if (count > end - m_pos) {
        throw ReadPipeError(ERROR_INVALID_DATA, __FILE__, __LINE__);
    }
    const unsigned char* bytes = m_buffer.get() + m_pos;
    m_pos += count;
    return bytes;
}

}  // namespace tvn
