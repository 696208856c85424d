// A very long macro, and a very long reply in very many pieces.

#include <windows.h>

#include <algorithm>
#include <numeric>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/ChildProgram.h"
#include "soak/Counterpart.h"
#include "soak/Parts.h"
#include "soak/ProcessFigures.h"
#include "soak/ScriptingObject.h"
#include "soak/Stopwatch.h"

namespace soak
{
namespace
{

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;
constexpr std::wstring_view kSeparator = L"[EXTRACT]";
constexpr std::wstring_view kAsksForReply = L"reply";
constexpr std::size_t kPieceLength = 128;  ///< with its separator

/// A piece that tells its number.
std::wstring Piece(std::size_t index)
{
    std::wstring piece = std::to_wstring(index);
    piece.resize(kPieceLength - kSeparator.size(), L'.');
    return piece;
}

/// `pieces` pieces, each with a separator behind it but the last.
std::wstring WholeReply(std::size_t pieces)
{
    std::wstring text;
    text.reserve(pieces * kPieceLength);
    for (std::size_t index = 0; index < pieces; ++index) {
        if (index != 0) {
            text += kSeparator;
        }
        text += Piece(index);
    }
    return text;
}

/// A macro whose characters all differ from their neighbours.
std::wstring LongMacro(std::size_t length)
{
    std::wstring macro(length, L'\0');
    for (std::size_t index = 0; index < length; ++index) {
        macro[index] = static_cast<wchar_t>(0x4E00 + (index * 7919) % 0x5000);
    }
    return macro;
}

std::wstring Checksum(std::wstring_view text)
{
    const std::uint64_t sum = std::accumulate(
        text.begin(), text.end(), std::uint64_t{text.size()},
        [](std::uint64_t so, wchar_t character) { return so * 1099511628211U + character; });
    return std::to_wstring(sum);
}

/// The macro in the argument of a play.
std::wstring_view MacroOf(std::wstring_view argument)
{
    constexpr std::wstring_view kFront = L" -macro ";
    return argument.substr(kFront.size(), argument.size() - kFront.size() - 1);
}

std::string Megabytes(std::ptrdiff_t kibibytes)
{
    return std::to_string(kibibytes / 1024) + " MiB";
}

}  // namespace

int ServeBigReplies()
{
    Counterpart counterpart;
    for (;;) {
        counterpart.Next(Stage::Play, [](Turn& turn) {
            const std::wstring_view macro = MacroOf(turn.argument);
            std::wstring text = Checksum(macro);
            if (macro.substr(0, kAsksForReply.size()) == kAsksForReply) {
                text = WholeReply(std::stoul(std::wstring(macro.substr(kAsksForReply.size()))));
            }
            return turn.link.Write(ReplyMessage(turn.id, 1, text));
        });
        Sleep(5);
    }
}

void RunBig(const Settings& settings, Journal& journal)
{
    constexpr LONG kSeconds = 120;
    const std::size_t divisor = settings.shortForm ? 16 : 1;
    const std::size_t macroLength = 32 * kMebibyte / divisor;
    const std::size_t pieces = kMebibyte / divisor;

    const ChildProgram peer(kPartBigReplies);
    ScriptingObject object;
    int status = 0;
    for (int tries = 0; tries < 50 && status != tvn::sOk; ++tries, Sleep(100)) {
        status = object.Init("-runner", false, 2);
    }
    Table table = {{"what", "status", "whole", "seconds", "peak memory", "of its size"}};
    const auto measure = [&](const char* what, std::size_t bytes, const std::wstring& macro,
                             const auto& isWhole) {
        Journal::NoteCase(nullptr, 0);
        journal.Progress(0.5, what);
        const std::ptrdiff_t before = PrivateKibibytes();
        const Stopwatch watch;
        status = object.Play(macro, kSeconds);
        const double seconds = watch.Milliseconds() / 1000;
        const std::ptrdiff_t peak = PeakKibibytes() - before;
        const bool whole = status == tvn::sOk && isWhole();
        const auto percent =
            100 * peak / static_cast<std::ptrdiff_t>(std::max<std::size_t>(bytes / 1024, 1));
        table.push_back({what, std::to_string(status), whole ? "yes" : "no",
                         std::to_string(static_cast<int>(seconds * 10) / 10.0).substr(0, 4),
                         Megabytes(peak), std::to_string(percent) + " %"});
        journal.Count(1, whole ? 1 : 0);
        if (!whole) {
            journal.Fault(std::string(what) + " did not arrive whole, status " +
                          std::to_string(status));
        }
        return percent;
    };

    {
        const std::wstring macro = LongMacro(macroLength);
        measure("a macro of 64 MiB", macroLength * sizeof(wchar_t), macro,
                [&] { return object.Extract() == Checksum(macro); });
    }
    const std::size_t replyBytes = pieces * kPieceLength * sizeof(wchar_t);
    const auto percent =
        measure("a reply of 256 MiB in a million pieces", replyBytes,
                std::wstring(kAsksForReply) + std::to_wstring(pieces), [&] {
                    constexpr std::size_t kLastThatIsGiven = 0x7FFF;
                    const std::size_t last = std::min(pieces, kLastThatIsGiven);
                    return object.Extract(1) == Piece(0) &&
                           object.Extract(static_cast<LONG>(last)) == Piece(last - 1) &&
                           object.Extract() == WholeReply(pieces);
                });
    constexpr std::ptrdiff_t kMost = 400;
    if (percent > kMost && !settings.shortForm) {
        journal.Fault("the peak is " + std::to_string(percent) + " % of the reply");
    }
    object.Exit(3);
    journal.AddTable("Very long macros and replies", table);
}

}  // namespace soak
