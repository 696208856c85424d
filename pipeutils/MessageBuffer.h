#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/smart_ptr/make_shared_array.hpp>
#include <cstddef>
#include <cstdint>

namespace tvn
{

/// The bytes of one pipe message, shared between the pipe layer and the encoder or decoder.
using MessageBuffer = boost::shared_ptr<unsigned char>;

/// Size in bytes of the length field that begins every message. The length counts these bytes too.
inline constexpr std::uint32_t kLengthFieldSize = 4;

/// A new, uninitialised buffer of `size` bytes, made by a single allocation. Throws std::bad_alloc.
inline MessageBuffer NewMessageBuffer(std::size_t size)
{
    // Aligned for numbers and characters.
    using Unit = std::uint64_t;
    const auto units = boost::make_shared_noinit<Unit[]>((size + sizeof(Unit) - 1) / sizeof(Unit));
    return {units, reinterpret_cast<unsigned char*>(units.get())};
}

}  // namespace tvn
