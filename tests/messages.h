// The bytes of messages, written and read apart from the product's own code for them: a fault that
// the product had in both directions would otherwise not be seen.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tvn::tests
{

using Bytes = std::vector<unsigned char>;

/// Little-endian 32-bit words, for messages written out by hand.
Bytes Words(std::initializer_list<std::uint32_t> words);

void AppendField(Bytes& message, std::uint32_t number);
void AppendField(Bytes& message, std::string_view text);

/// Makes `length` the length that the message claims to have.
void SetLength(Bytes& message, std::uint32_t length);

/// A message of numbers and texts behind its length.
template <class... Fields>
Bytes Message(const Fields&... fields)
{
    Bytes message(4);
    const auto append = [&message](const auto& field) {
        if constexpr (std::is_convertible_v<decltype(field), std::string_view>) {
            AppendField(message, std::string_view(field));
        } else {
            AppendField(message, static_cast<std::uint32_t>(field));
        }
    };
    (append(fields), ...);
    SetLength(message, static_cast<std::uint32_t>(message.size()));
    return message;
}

/// Takes the fields of a message in their order; what is not there is 0 or empty. `message` is
/// borrowed.
class Fields
{
  public:
    explicit Fields(const Bytes& message) : m_message(message) {}

    std::uint32_t Number();
    std::wstring Text();

  private:
    const Bytes& m_message;
    std::size_t m_at = 4;
};

}  // namespace tvn::tests
