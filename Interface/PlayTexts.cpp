#include "Interface/PlayTexts.h"

#include <emmintrin.h>

#include <algorithm>

#include "basicslib/InstanceProtocol.h"

namespace tvn
{
namespace
{

/// What stands for a character, or null when it stands for itself.
const ArgumentEscape* EscapeOf(wchar_t character) noexcept
{
    if (character > L' ') {
        return nullptr;
    }
    const auto* const found =
        std::find_if(std::begin(kArgumentEscapes), std::end(kArgumentEscapes),
                     [character](const auto& escape) { return escape.character == character; });
    return found == std::end(kArgumentEscapes) ? nullptr : found;
}

std::size_t EncodedSize(std::wstring_view text) noexcept
{
    std::size_t size = text.size();
    for (const wchar_t character : text) {
        const ArgumentEscape* const escape = EscapeOf(character);
        size += escape == nullptr ? 0 : escape->mark.size() - 1;
    }
    return size;
}

/// Makes room for `more` characters behind `target`, so that appending them cannot fail half-way.
void MakeRoom(std::wstring& target, std::size_t more)
{
    target.reserve(target.size() + more);
}

/// The place of the first `wanted` at or behind `from`, or the length of the text. Replies may be
/// of hundreds of megabytes, most of it none of what is looked for: thirty-two characters are
/// compared at a time, as fast as the memory gives them.
std::size_t FindCharacter(std::wstring_view text, wchar_t wanted, std::size_t from) noexcept
{
    constexpr std::size_t kVector = sizeof(__m128i) / sizeof(wchar_t);
    constexpr std::size_t kAtOnce = 4 * kVector;

    const __m128i pattern = _mm_set1_epi16(static_cast<short>(wanted));
    const auto equal = [&](std::size_t at) {
        return _mm_cmpeq_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at)),
                               pattern);
    };
    for (; text.size() - from >= kAtOnce; from += kAtOnce) {
        const __m128i first = _mm_or_si128(equal(from), equal(from + kVector));
        const __m128i second = _mm_or_si128(equal(from + 2 * kVector), equal(from + 3 * kVector));
        if (_mm_movemask_epi8(_mm_or_si128(first, second)) != 0) {
            break;
        }
    }
    return std::min(text.find(wanted, from), text.size());
}

/// The place of the first `separator` at or behind `from`, npos when there is none.
std::size_t Find(std::wstring_view text, std::wstring_view separator, std::size_t from) noexcept
{
    for (;; ++from) {
        from = FindCharacter(text, separator.front(), from);
        if (from == text.size()) {
            return std::wstring_view::npos;
        }
        if (text.substr(from, separator.size()) == separator) {
            return from;
        }
    }
}

}  // namespace

void AppendEncoded(std::wstring& target, std::wstring_view text)
{
    const std::size_t start = target.size();
    target.resize(start + EncodedSize(text));
    wchar_t* position = target.data() + start;
    for (const wchar_t character : text) {
        if (const ArgumentEscape* const escape = EscapeOf(character)) {
            position = std::copy(escape->mark.begin(), escape->mark.end(), position);
        } else {
            *position++ = character;
        }
    }
}

std::wstring EncodeArg(std::wstring_view text)
{
    std::wstring encoded;
    AppendEncoded(encoded, text);
    return encoded;
}

void AppendVariable(std::wstring& arguments, std::wstring_view name, std::wstring_view value)
{
    MakeRoom(arguments, kVariablePrefix.size() + name.size() + EncodedSize(value) + 2);
    arguments += L' ';
    if (name.find(L'-') != 0) {
        arguments += kVariablePrefix;
    }
    arguments += name;
    arguments += L' ';
    AppendEncoded(arguments, value);
}

void MakePlayArgument(std::wstring_view macro, std::wstring& variables)
{
    std::wstring head;
    MakeRoom(head, kMacroSwitch.size() + EncodedSize(macro) + 3);
    head += L' ';
    head += kMacroSwitch;
    head += L' ';
    AppendEncoded(head, macro);
    head += L' ';
    variables.insert(0, head);
}

void ParseReply(std::wstring_view reply, int code, std::wstring& errorText,
                std::wstring_view& extractText)
{
    const std::size_t position = Find(reply, kErrorSeparator, 0);
    if (position == std::wstring_view::npos || position == 0) {
        errorText.clear();
        extractText = reply;
        return;
    }
    errorText = std::wstring(reply.substr(0, position)) + L" (" + std::to_wstring(code) + L")";
    extractText = reply.substr(position + kErrorSeparator.size());
}

void SplitExtracts(std::wstring_view text, std::wstring_view separator,
                   std::vector<std::wstring_view>& list, bool keepEmpty)
{
    std::vector<std::wstring_view> pieces;
    for (std::size_t position = 0; !text.empty();) {
        const std::size_t end = std::min(Find(text, separator, position), text.size());
        if (keepEmpty || end > position) {
            pieces.push_back(text.substr(position, end - position));
        }
        if (end == text.size()) {
            break;
        }
        position = end + separator.size();
    }
    list.swap(pieces);
}

}  // namespace tvn
