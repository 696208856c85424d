#include "tvntrace/TraceLine.h"

#include <boost/locale/encoding_utf.hpp>

#include "basicslib/ComString.h"

namespace tvn::trace
{
namespace
{

constexpr std::size_t kLongestText = 1023;

/// What belongs to the password ends where the last mark behind it begins: the password itself may
/// hold one, and showing too little is the safe side.
void MaskPassword(std::wstring& text)
{
    constexpr std::wstring_view kBefore = L", password:";
    constexpr std::wstring_view kBehind = L", appPath:";
    std::size_t begin = text.find(kBefore);
    if (begin == std::wstring::npos || text.find(L"createProcess(user:") > begin) {
        return;
    }
    begin += kBefore.size();
    const std::size_t end = text.rfind(kBehind);
    const std::size_t length = end == std::wstring::npos || end < begin ? end : end - begin;
    if (text.substr(begin, length) != L"(null)" && length != 0) {
        text.replace(begin, length, L"****");
    }
}

/// One line stays one line, and a terminal takes no orders from the programs that are watched.
std::wstring WithoutControls(std::wstring_view text)
{
    constexpr const wchar_t* kDigits = L"0123456789ABCDEF";
    std::wstring result;
    for (const wchar_t character : text) {
        if (character == L'\t') {
            result += L' ';
        } else if (character < 0x20 || (character >= 0x7F && character < 0xA0)) {
            result += {L'\\', L'x', kDigits[character / 16], kDigits[character % 16]};
        } else {
            result += character;
        }
    }
    return result;
}

}  // namespace

TraceLine ReadTraceLine(DWORD pid, std::string_view raw)
{
    TraceLine line = {};
    GetLocalTime(&line.time);
    line.pid = pid;
    for (std::size_t level = kLevels.size() - 1; level > 0; --level) {
        if (raw.starts_with(kLevels.at(level).tag)) {
            line.level = static_cast<Level>(level);
            raw.remove_prefix(kLevels.at(level).tag.size());
            break;
        }
    }
    line.cut = raw.size() == kLongestText;
    while (raw.ends_with('\n') || raw.ends_with('\r')) {
        raw.remove_suffix(1);
    }
    std::wstring text(ToView(ToComString(raw)));
    MaskPassword(text);
    line.text = boost::locale::conv::utf_to_utf<char>(WithoutControls(text));
    return line;
}

}  // namespace tvn::trace
