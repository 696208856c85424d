#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/smart_ptr/make_shared_array.hpp>
#include <cstddef>

namespace tvn
{

/// The bytes of one pipe message, shared between the pipe layer and the encoder or decoder.
using MessageBuffer = boost::shared_ptr<unsigned char>;

/// A new buffer of `size` bytes of any content, made by a single allocation. Throws
/// std::bad_alloc.
inline MessageBuffer NewMessageBuffer(std::size_t size)
{
    const auto bytes = boost::make_shared_noinit<unsigned char[]>(size);
    return {bytes, bytes.get()};
}

}  // namespace tvn
