#pragma once

#include <comdef.h>

#include <string>
#include <string_view>

namespace tvn
{

/// A reference-counted BSTR that also provides a narrow (ANSI code page) copy. An empty object and
/// a null BSTR both read as the empty text. Copies share one BSTR and one narrow copy. The narrow
/// copy is made on first use, without a lock, so threads that share a text may only read its wide
/// characters. Making an object or a narrow copy throws std::bad_alloc when memory runs out.
using ComString = _bstr_t;

/// A COM string with a copy of `text`, embedded zeros included. When memory runs out, it throws
/// `_com_error` with E_OUTOFMEMORY for the BSTR, or std::bad_alloc for the object that holds it.
ComString ToComString(std::wstring_view text);

/// A COM string converted from narrow text in the ANSI code page. Throws like the wide overload.
ComString ToComString(std::string_view text);

/// Takes ownership of `bstr`, which is freed even when this throws. Throws `_com_error` with
/// E_OUTOFMEMORY for a null BSTR, which the platform returns when memory runs out, and
/// std::bad_alloc.
ComString TakeBstr(BSTR bstr);

/// The characters of `text`, valid as long as `text` holds them. Never fails.
std::wstring_view ToView(const ComString& text) noexcept;

/// The characters of a BSTR that somebody else owns; a null BSTR reads as the empty text.
std::wstring_view ToView(const wchar_t* bstr) noexcept;

/// Converts to narrow text in the ANSI code page; a character that the code page lacks becomes its
/// replacement character. Throws std::bad_alloc.
std::string ToNarrow(std::wstring_view text);

}  // namespace tvn
