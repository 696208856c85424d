#include "pipeutils/Deserializer.h"

#include <algorithm>

#include "basicslib/Exceptions.h"

namespace tvn
{

Deserializer::Deserializer(std::uint32_t size, const MessageBuffer& buffer)
    : m_size(std::max(size, kLengthFieldSize)), m_buffer(buffer)
{}

void Deserializer::ReadString(ComString& text)
{
    unsigned int bytes = 0;
    ReadUInt(bytes);
    const unsigned char* characters = Take(bytes);
    text = TakeBstr(SysAllocStringByteLen(reinterpret_cast<const char*>(characters), bytes));
}

std::wstring_view Deserializer::ReadText()
{
    unsigned int bytes = 0;
    ReadUInt(bytes);
    const unsigned char* characters = Take(bytes);
    TVN_ASSERT(reinterpret_cast<ULONG_PTR>(characters) % alignof(wchar_t) == 0);
    return {reinterpret_cast<const wchar_t*>(characters), bytes / sizeof(wchar_t)};
}

const unsigned char* Deserializer::Take(std::uint32_t count)
{
    if (count > GetLeft()) {
        throw ReadPipeError(ERROR_INVALID_DATA, __FILE__, __LINE__);
    }
    const unsigned char* bytes = m_buffer.get() + m_pos;
    m_pos += count;
    return bytes;
}

}  // namespace tvn
