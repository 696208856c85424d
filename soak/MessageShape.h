#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace soak
{

using Bytes = std::vector<unsigned char>;

/// The grammar of the messages on the three kinds of pipes, written down apart from the product's
/// own encoder and decoder, so that the two can be held against each other.
enum class Field : unsigned char {
    Number,  ///< four bytes, little-endian
    Text,    ///< a byte count of four bytes, then the bytes
    List,    ///< a count of four bytes, then that many records; none for a negative count
};

struct MessageShape
{
    const char* name;
    std::uint32_t type;  ///< the type id in front of the fields; 0: the message has none
    std::vector<Field> fields;
    std::vector<Field> record;  ///< of the list, without lists
};

/// A command, its reply, the callback, and the ten messages of the runner's pipe in the order of
/// their type ids.
const std::vector<MessageShape>& AllShapes();

/// The shapes by name, and by type id; a null pointer for an unknown one.
const MessageShape* ShapeNamed(std::string_view name);
const MessageShape* ShapeOfType(std::uint32_t type);

/// Whether `bytes`, which begin behind the length field and the type id, hold every field.
bool HoldsAllFields(const MessageShape& shape, const unsigned char* bytes, std::size_t size);

/// Writing and reading four bytes.
void AppendNumber(Bytes& bytes, std::uint32_t number);
void AppendText(Bytes& bytes, std::wstring_view text);
std::uint32_t NumberAt(const unsigned char* bytes);

/// `fields` with the right length field in front.
Bytes WithLength(const Bytes& fields);

/// A reply to the command `id`.
Bytes ReplyMessage(std::uint32_t id, int status, std::wstring_view text);

}  // namespace soak
