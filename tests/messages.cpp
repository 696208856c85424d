#include "tests/messages.h"

#include <cstring>

namespace tvn::tests
{

Bytes Words(std::initializer_list<std::uint32_t> words)
{
    const auto* first = reinterpret_cast<const unsigned char*>(words.begin());
    return {first, first + words.size() * 4};
}

void AppendField(Bytes& message, std::uint32_t number)
{
    for (int shift = 0; shift < 32; shift += 8) {
        message.push_back(static_cast<unsigned char>(number >> shift));
    }
}

void AppendField(Bytes& message, std::string_view text)
{
    AppendField(message, static_cast<std::uint32_t>(text.size() * 2));
    message.reserve(message.size() + text.size() * 2);
    for (const char character : text) {
        message.push_back(static_cast<unsigned char>(character));
        message.push_back('\0');
    }
}

void SetLength(Bytes& message, std::uint32_t length)
{
    std::memcpy(message.data(), &length, sizeof length);
}

std::uint32_t Fields::Number()
{
    std::uint32_t number = 0;
    if (m_at + sizeof number <= m_message.size()) {
        std::memcpy(&number, m_message.data() + m_at, sizeof number);
        m_at += sizeof number;
    }
    return number;
}

std::wstring Fields::Text()
{
    const std::size_t bytes = Number();
    if (m_at + bytes > m_message.size()) {
        return {};
    }
    std::wstring text(bytes / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), m_message.data() + m_at, text.size() * sizeof(wchar_t));
    m_at += bytes;
    return text;
}

}  // namespace tvn::tests
