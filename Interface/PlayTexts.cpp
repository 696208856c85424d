#include "Interface/PlayTexts.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>

#include "basicslib/InstanceProtocol.h"

namespace tvn
{
namespace
{

/// All marks have the same length, so every replacement grows the text equally and is one copy.
constexpr std::size_t kMarkSize = kArgumentEscapes[0].mark.size();
static_assert(std::all_of(std::begin(kArgumentEscapes), std::end(kArgumentEscapes),
                          [](const auto& escape) {
                              return escape.character <= L' ' && escape.mark.size() == kMarkSize;
                          }));

/// The mark that replaces each character up to the space, null for a character that stays.
constexpr auto kMarks = [] {
    std::array<const wchar_t*, L' ' + 1> marks = {};
    for (const ArgumentEscape& escape : kArgumentEscapes) {
        marks[escape.character] = escape.mark.data();
    }
    return marks;
}();

/// The mark that replaces a character, or null when the character stays.
const wchar_t* MarkOf(wchar_t character) noexcept
{
    return character > L' ' ? nullptr : kMarks[character];
}

/// The index of the first `wanted` at or after `from`, or the length of the text. Replies may have
/// hundreds of megabytes with few matches: comparing thirty-two characters at a time is as fast as
/// memory bandwidth allows.
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

/// The index of the first `separator` at or after `from`, npos when there is none.
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

std::wstring EncodeArg(std::wstring_view text)
{
    // Through a small buffer: resizing the result would zero memory that is then overwritten.
    std::array<wchar_t, 0x1000> buffer;
    constexpr std::size_t kAtOnce = buffer.size() / kMarkSize;

    std::wstring encoded;
    const auto marks = static_cast<std::size_t>(std::count_if(text.begin(), text.end(), &MarkOf));
    encoded.reserve(text.size() + marks * (kMarkSize - 1));
    for (; !text.empty(); text.remove_prefix(std::min(kAtOnce, text.size()))) {
        wchar_t* position = buffer.data();
        for (const wchar_t character : text.substr(0, kAtOnce)) {
            if (const wchar_t* const mark = MarkOf(character)) {
                position = std::copy_n(mark, kMarkSize, position);
            } else {
                *position++ = character;
            }
        }
        encoded.append(buffer.data(), position);
    }
    return encoded;
}

void AppendVariable(std::wstring& arguments, std::wstring_view name, std::wstring_view value)
{
    const std::wstring encoded = EncodeArg(value);
    const std::wstring_view prefix = name.starts_with(L'-') ? std::wstring_view() : kVariablePrefix;
    // Reserve all memory first, so that nothing fails half-way.
    arguments.reserve(arguments.size() + prefix.size() + name.size() + encoded.size() + 2);
    arguments.append(1, L' ').append(prefix).append(name).append(1, L' ').append(encoded);
}

void MakePlayArgument(std::wstring_view macro, std::wstring& variables)
{
    const std::wstring encoded = EncodeArg(macro);
    std::wstring argument;
    argument.reserve(kMacroSwitch.size() + encoded.size() + variables.size() + 3);
    argument.append(1, L' ').append(kMacroSwitch).append(1, L' ').append(encoded);
    argument.append(1, L' ').append(variables);
    variables.swap(argument);
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
    std::size_t end = 0;
    for (std::size_t position = 0; !text.empty() && position <= text.size();
         position = end + separator.size()) {
        end = std::min(Find(text, separator, position), text.size());
        if (keepEmpty || end > position) {
            pieces.push_back(text.substr(position, end - position));
        }
    }
    list.swap(pieces);
}

}  // namespace tvn
