#pragma once

#include <oaidl.h>

#include <optional>

#include "basicslib/ComString.h"

namespace tvn
{

/// What a VARIANT parameter of a scripting method holds. A VARIANT that refers to another one (what
/// a script passes for one of its variables) is followed to that one's value first.

/// Puts the text of a string, or of a reference to a string, into `text`. False for everything
/// else, which leaves `text` alone. Throws `_com_error` when the reference leads nowhere or there
/// is no memory.
bool TextOf(const VARIANT& value, ComString& text);

/// A value as a whole number; nothing, and an argument that was left out, as 0. Empty for what does
/// not convert. Throws nothing.
std::optional<LONG> IndexOf(const VARIANT& value) noexcept;

}  // namespace tvn
