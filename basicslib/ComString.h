#pragma once

#include <comdef.h>

#include <string>
#include <string_view>

namespace tvn
{

/// A reference-counted holder of a BSTR that also hands out a narrow (ANSI code page) copy. An
/// empty holder and a null BSTR both read as the empty text. Copies share one BSTR and the narrow
/// copy, which the first one to ask for it makes: that is a write, so threads that share a text
/// read its wide characters only. Making a holder and a narrow copy throws std::bad_alloc without
/// memory.
using ComString = _bstr_t;

/// A COM string with a copy of `text`, characters of value zero included. Without memory it throws
/// `_com_error` with E_OUTOFMEMORY, for the BSTR, or std::bad_alloc, for its holder.
ComString ToComString(std::wstring_view text);

/// A COM string made from narrow text by the ANSI code page. Throws as the wide form does.
ComString ToComString(std::string_view text);

/// Takes a BSTR over, which is freed also when this throws: `_com_error` with E_OUTOFMEMORY for a
/// null one, which the platform returns when there is no memory, and std::bad_alloc.
ComString TakeBstr(BSTR bstr);

/// The characters of `text`, valid as long as `text` holds them. Never fails.
std::wstring_view ToView(const ComString& text) noexcept;

/// The characters of a BSTR that somebody else owns; a null BSTR reads as the empty text.
std::wstring_view ToView(const wchar_t* bstr) noexcept;

/// Narrow text made by the ANSI code page; a character that it does not hold becomes its
/// replacement character. Throws std::bad_alloc.
std::string ToNarrow(std::wstring_view text);

}  // namespace tvn
