#pragma once

#include <oaidl.h>

#include <optional>

#include "basicslib/ComString.h"

namespace tvn
{

/// What a VARIANT parameter of a scripting method holds. A VARIANT that refers to another one (what
/// a script passes for one of its variables) is dereferenced first.

/// Puts the text of a string, or of a reference to a string, into `text`. False for everything
/// else, which leaves `text` alone. Throws `_com_error` when the reference is null or memory runs
/// out.
bool TextOf(const VARIANT& value, ComString& text);

/// A value as an integer; an empty VARIANT and an omitted argument are 0. Empty for a value that
/// does not convert. Throws nothing.
std::optional<LONG> IndexOf(const VARIANT& value) noexcept;

}  // namespace tvn
