#pragma once

#include <oaidl.h>

#include "basicslib/ComString.h"

namespace tvn
{

/// What a VARIANT parameter of a scripting method holds. A VARIANT that refers to another one (what
/// a script passes for one of its variables) is followed to that one's value first.

/// Puts the text of a string, or of a reference to a string, into `text`. False for everything
/// else, which leaves `text` alone. Throws `_com_error` when the reference leads nowhere or there
/// is no memory.
bool TextOf(const VARIANT& value, ComString& text);

/// Puts a value that converts to a whole number into `number`; nothing, and an argument that was
/// left out, as 0. False for what does not convert. Throws nothing.
bool IndexOf(const VARIANT& value, LONG& number) noexcept;

}  // namespace tvn
