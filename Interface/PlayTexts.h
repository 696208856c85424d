#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tvn
{

/// The texts that go to an instance with a play, and those that come back. Nothing here keeps what
/// it is given; views that are returned are parts of the text that they were made from. Everything
/// throws std::bad_alloc when there is no memory, and then leaves its target as it was.

/// `text` with blanks, line feeds and carriage returns written as the instance expects them.
std::wstring EncodeArg(std::wstring_view text);

/// Appends a variable to the arguments of the next play: its name, with the prefix of variables
/// unless it begins with a hyphen, and its encoded value.
void AppendVariable(std::wstring& arguments, std::wstring_view name, std::wstring_view value);

/// Makes the argument of a play of `macro` out of the variables that `AppendVariable` has gathered.
void MakePlayArgument(std::wstring_view macro, std::wstring& variables);

/// Cuts a reply into its error part, completed with `code`, and its extract part. A reply that does
/// not begin with an error part is all extract.
void ParseReply(std::wstring_view reply, int code, std::wstring& errorText,
                std::wstring_view& extractText);

/// Cuts `text` at every `separator`; an empty text has no pieces. Without `keepEmpty`, empty pieces
/// are left out.
void SplitExtracts(std::wstring_view text, std::wstring_view separator,
                   std::vector<std::wstring_view>& list, bool keepEmpty);

}  // namespace tvn
