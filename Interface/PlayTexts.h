#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tvn
{

/// The texts that are sent to an instance for a play, and those that come back. No argument is
/// kept; returned views point into the text that they were made from. Every function throws
/// std::bad_alloc when memory runs out, and then leaves its target unchanged.

/// `text` with spaces, line feeds and carriage returns written as the instance expects them.
std::wstring EncodeArg(std::wstring_view text);

/// Appends a variable to the arguments of the next play: its name, with the prefix of variables
/// unless it begins with a hyphen, and its encoded value.
void AppendVariable(std::wstring& arguments, std::wstring_view name, std::wstring_view value);

/// Turns `variables`, gathered by `AppendVariable`, into the argument of a play of `macro`.
void MakePlayArgument(std::wstring_view macro, std::wstring& variables);

/// Splits a reply into its error part, with `code` appended, and its extract part. A reply that
/// does not begin with an error part is all extract.
void ParseReply(std::wstring_view reply, int code, std::wstring& errorText,
                std::wstring_view& extractText);

/// Splits `text` at every `separator`; an empty text has no pieces. Without `keepEmpty`, empty
/// pieces are left out.
void SplitExtracts(std::wstring_view text, std::wstring_view separator,
                   std::vector<std::wstring_view>& list, bool keepEmpty);

}  // namespace tvn
