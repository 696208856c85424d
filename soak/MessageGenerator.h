#pragma once

#include "soak/MessageShape.h"
#include "soak/Random.h"

namespace soak
{

/// Makes messages that keep to a grammar, and breaks them where a grammar can be broken: numbers
/// and signs, byte counts of texts (odd, one off, beyond the end, all ones), counts of records,
/// fields left out, doubled and exchanged, messages cut and continued, single bits. What decodes
/// messages in memory and what sends them over pipes share it. Used by one thread.
class MessageGenerator
{
  public:
    explicit MessageGenerator(Random& random) : m_random(random) {}

    /// The fields of a message as the grammar wants them, behind the length field, with the type id
    /// if there is one. `id` is the first field.
    void WriteSound(const MessageShape& shape, std::uint32_t id, Bytes& fields);

    /// The same, broken in one to four places.
    void WriteBroken(const MessageShape& shape, std::uint32_t id, Bytes& fields);

    /// Breaks `fields` where no grammar is known any more.
    void Scramble(Bytes& fields);

    /// A length field for a message of `size` bytes in all: mostly wrong.
    std::uint32_t BrokenLength(std::size_t size);

  private:
    /// Where a field begins and what it is.
    struct Place
    {
        Field field;
        std::size_t at;
    };

    void AddFields(const std::vector<Field>& kinds, const std::vector<Field>& record,
                   Bytes& fields);
    void AddText(Bytes& fields);
    void BreakPlace(const Place& place, Bytes& fields);
    std::uint32_t BrokenCount(std::uint32_t right, std::size_t rest);
    std::uint32_t OddNumber();

    Random& m_random;
    std::vector<Place> m_places;
};

}  // namespace soak
