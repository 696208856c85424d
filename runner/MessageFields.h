#pragma once

#include <algorithm>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <vector>

#include "basicslib/ComString.h"
#include "pipeutils/Deserializer.h"
#include "pipeutils/Serializer.h"

namespace tvn
{

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

    /// Writes parallel arrays as records behind their count; none of them when the arrays differ in
    /// length.
    template <class Array, class... Arrays>
    void Records(const Array& array, const Arrays&... arrays)
    {
        const bool even = ((array.size() == arrays.size()) && ...);
        const std::size_t count = even ? array.size() : 0;
        m_serializer.AddInt(static_cast<int>(count));
        for (std::size_t index = 0; index < count; ++index) {
            (*this)(array[index], arrays[index]...);
        }
    }

  private:
    void Write(std::uint32_t number) { m_serializer.AddUInt(number); }
    void Write(int number) { m_serializer.AddInt(number); }
    void Write(const ComString& text) { m_serializer.AddString(text); }

    Serializer& m_serializer;
};

/// Reads the fields that it is called with, in their order. Throws ReadPipeError when the message
/// holds fewer.
class FieldReader
{
  public:
    explicit FieldReader(Deserializer& deserializer) noexcept : m_deserializer(deserializer) {}

    template <class... Fields>
    void operator()(Fields&... fields)
    {
        (Read(fields), ...);
    }

    /// Reads a count and its records, and appends them to the arrays. The count is not believed:
    /// room is made for as many records as the message can hold.
    template <class... Arrays>
    void Records(Arrays&... arrays)
    {
        constexpr std::size_t kSmallestField = 4;
        int count = 0;
        m_deserializer.ReadInt(count);
        // (And for one that it breaks off.)
        const std::size_t most =
            m_deserializer.GetLeft() / (kSmallestField * sizeof...(Arrays)) + 1;
        (arrays.reserve(std::min(most, static_cast<std::size_t>(std::max(count, 0)))), ...);
        for (; count > 0; --count) {
            (arrays.push_back(Next<typename Arrays::value_type>()), ...);
        }
    }

  private:
    template <class Field>
    Field Next()
    {
        Field field{};
        Read(field);
        return field;
    }
    void Read(std::uint32_t& number) { m_deserializer.ReadUInt(number); }
    void Read(int& number) { m_deserializer.ReadInt(number); }
    void Read(ComString& text) { m_deserializer.ReadString(text); }

    Deserializer& m_deserializer;
};

/// Gives `Message`, derived from this, its type and the two directions of its fields, which its
/// template `Fields` hands to a writer or a reader behind those of `Base`.
template <class Message, class Base, std::uint32_t kType>
class MessageWithFields : public Base
{
  public:
    using Base::Base;

    std::uint32_t GetType() const override { return kType; }

    void Serialize(boost::shared_ptr<Serializer> serializer) override
    {
        Base::Serialize(serializer);
        FieldWriter writer(*serializer);
        static_cast<Message*>(this)->Fields(writer);
    }

    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override
    {
        Base::Deserialize(deserializer);
        FieldReader reader(*deserializer);
        static_cast<Message*>(this)->Fields(reader);
    }

    /// For a message without fields of its own.
    template <class Archive>
    void Fields(Archive& /*fields*/)
    {}
};

}  // namespace tvn
