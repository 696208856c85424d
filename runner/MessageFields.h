#pragma once

#include <algorithm>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <tuple>

#include "basicslib/ComString.h"
#include "pipeutils/Deserializer.h"
#include "pipeutils/Serializer.h"

namespace tvn
{

/// Parallel arrays of a message, written as their count and then one record for each index; as no
/// records when the arrays differ in length. Holds references to the message's arrays.
template <class... Arrays>
struct Records
{
    explicit Records(Arrays&... ofMessage) noexcept : arrays(ofMessage...) {}

    std::tuple<Arrays&...> arrays;
};

/// Writes the fields that it is called with, in their order.
class FieldWriter
{
  public:
    explicit FieldWriter(Serializer& serializer) noexcept : m_serializer(serializer) {}

    template <class... Fields>
    void operator()(const Fields&... fields)
    {
        (Write(fields), ...);
    }

  private:
    void Write(std::uint32_t number) { m_serializer.AddUInt(number); }
    void Write(int number) { m_serializer.AddInt(number); }
    void Write(const ComString& text) { m_serializer.AddString(text); }

    template <class... Arrays>
    void Write(const Records<Arrays...>& records)
    {
        const auto write = [this](const auto& array, const auto&... others) {
            const bool even = ((array.size() == others.size()) && ...);
            const std::size_t count = even ? array.size() : 0;
            Write(static_cast<int>(count));
            for (std::size_t index = 0; index < count; ++index) {
                (*this)(array[index], others[index]...);
            }
        };
        std::apply(write, records.arrays);
    }

    Serializer& m_serializer;
};

/// Reads the fields that it is called with, in their order. Throws ReadPipeError when the message
/// holds fewer.
class FieldReader
{
  public:
    explicit FieldReader(Deserializer& deserializer) noexcept : m_deserializer(deserializer) {}

    template <class... Fields>
    void operator()(Fields&&... fields)
    {
        (Read(fields), ...);
    }

  private:
    void Read(std::uint32_t& number) { m_deserializer.ReadUInt(number); }
    void Read(int& number) { m_deserializer.ReadInt(number); }
    void Read(ComString& text) { m_deserializer.ReadString(text); }

    /// Appends to the arrays. The count is not trusted: memory is reserved for at most as many
    /// records as the message can hold, plus one that is cut short.
    template <class... Arrays>
    void Read(Records<Arrays...>& records)
    {
        constexpr std::size_t kSmallestRecord = 4 * sizeof...(Arrays);
        int count = 0;
        Read(count);
        const std::size_t most = m_deserializer.GetLeft() / kSmallestRecord + 1;
        const std::size_t room = std::min(most, static_cast<std::size_t>(std::max(count, 0)));
        std::apply([room](auto&... arrays) { (arrays.reserve(room), ...); }, records.arrays);
        for (; count > 0; --count) {
            std::apply([this](auto&... arrays) { (this->Read(arrays.emplace_back()), ...); },
                       records.arrays);
        }
    }

    Deserializer& m_deserializer;
};

/// Serializes and deserializes the fields of `Message`, which derives from this class; its `Fields`
/// returns a tuple of references to them. The fields of `Base` come first.
template <class Message, class Base>
class WithFields : public Base
{
  public:
    using Base::Base;

    void Serialize(boost::shared_ptr<Serializer> serializer) override
    {
        Base::Serialize(serializer);
        std::apply(FieldWriter(*serializer), static_cast<Message*>(this)->Fields());
    }

    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override
    {
        Base::Deserialize(deserializer);
        std::apply(FieldReader(*deserializer), static_cast<Message*>(this)->Fields());
    }
};

/// The same with a message's type id.
template <class Message, class Base, std::uint32_t kType>
class MessageWithFields : public WithFields<Message, Base>
{
  public:
    using WithFields<Message, Base>::WithFields;

    static constexpr std::uint32_t kTypeId = kType;

    std::uint32_t GetType() const override { return kTypeId; }
};

}  // namespace tvn
