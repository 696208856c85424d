#include "tvntrace/TraceLine.h"

#include <array>
#include <utility>

namespace tvn::trace
{
namespace
{

constexpr std::array kNames = {"other", "debug", "protocol", "error"};

constexpr std::array kTags = {
    std::pair{Level::Debug, std::string_view("[tvn::debug] ")},
    std::pair{Level::Protocol, std::string_view("[tvn::HI_LEVEL_PROTOCOL] ")},
    std::pair{Level::Error, std::string_view("[................tvn::error] ")},
};

std::wstring Widen(std::string_view text, UINT codePage)
{
    const auto size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');  // never longer than what it is made from
    const int length = MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), size);
    wide.resize(static_cast<std::size_t>(length));
    return wide;
}

/// What belongs to the password ends where the last mark behind it begins: the password itself may
/// hold one, and showing too little is the safe side.
void MaskPassword(std::string& text)
{
    constexpr std::string_view kBefore = ", password:";
    constexpr std::string_view kBehind = ", appPath:";
    std::size_t begin = text.find(kBefore);
    if (begin == std::string::npos || text.find("createProcess(user:") > begin) {
        return;
    }
    begin += kBefore.size();
    const std::size_t end = text.rfind(kBehind);
    const std::size_t length = end == std::string::npos || end < begin ? end : end - begin;
    if (text.substr(begin, length) != "(null)" && length != 0) {
        text.replace(begin, length, "****");
    }
}

/// One line stays one line, and a terminal takes no orders from the programs that are watched.
std::string WithoutControls(std::string_view text)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code == '\n') {
            result += "\\n";
        } else if (code == '\r') {
            result += "\\r";
        } else if (code == '\t') {
            result += ' ';
        } else if (code < 0x20 || code == 0x7F) {
            result += {'\\', 'x', kDigits[code / 16], kDigits[code % 16]};
        } else {
            result += character;
        }
    }
    return result;
}

}  // namespace

const char* NameOf(Level level)
{
    return kNames.at(static_cast<std::size_t>(level));
}

TraceLine ReadTraceLine(DWORD pid, std::string_view raw)
{
    TraceLine line = {};
    GetLocalTime(&line.time);
    line.pid = pid;
    for (const auto& [level, tag] : kTags) {
        if (raw.starts_with(tag)) {
            line.level = level;
            raw.remove_prefix(tag.size());
            break;
        }
    }
    while (raw.ends_with('\n') || raw.ends_with('\r')) {
        raw.remove_suffix(1);
    }
    line.text = ToUtf8(Widen(raw, CP_ACP));
    MaskPassword(line.text);
    line.text = WithoutControls(line.text);
    return line;
}

std::string ToUtf8(std::wstring_view text)
{
    constexpr std::size_t kMostBytes = 3;  // for each 16 bits
    std::string narrow(text.size() * kMostBytes, '\0');
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr);
    narrow.resize(static_cast<std::size_t>(length));
    return narrow;
}

std::wstring FromUtf8(std::string_view text)
{
    return Widen(text, CP_UTF8);
}

}  // namespace tvn::trace
