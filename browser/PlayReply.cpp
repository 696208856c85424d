#include "browser/PlayReply.h"

#include "basicslib/InstanceProtocol.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

/// The reader of the reply cuts it at the first mark.
std::wstring WithoutMark(std::wstring text)
{
    for (std::size_t at = 0; (at = text.find(tvn::kErrorSeparator, at)) != std::wstring::npos;) {
        text.insert(at + 1, 1, L' ');
    }
    return text;
}

}  // namespace

std::wstring ReplyText(const MacroPage::Outcome& outcome)
{
    std::wstring text;
    if (outcome.failed) {
        text = WithoutMark(FromUtf8(outcome.error));
        if (outcome.line > 0) {
            text += L" (line " + std::to_wstring(outcome.line) + L")";
        }
        text += tvn::kErrorSeparator;
    }
    bool first = true;
    for (const std::string& piece : outcome.pieces) {
        text += first ? std::wstring_view() : tvn::kExtractSeparator;
        text += WithoutMark(FromUtf8(piece));
        first = false;
    }
    return text;
}

std::wstring ReplyText(const std::exception& error)
{
    return WithoutMark(FromUtf8(error.what())) + std::wstring(tvn::kErrorSeparator);
}

}  // namespace browser
