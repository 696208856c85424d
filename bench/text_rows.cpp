// What is done with texts of many megabytes, against copying them; and the small texts of every
// command.

#include <cstring>

#include "Interface/PlayTexts.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "bench/ScriptObject.h"
#include "pipeutils/CommandsProtocol.h"

namespace bench
{
namespace
{

constexpr std::size_t kLongText = std::size_t{64} * 1024 * 1024 / sizeof(wchar_t);

/// Keeps a result, so that making it is not left out.
template <class Result>
void Keep(const Result& result)
{
    asm volatile("" : : "g"(&result) : "memory");
}

}  // namespace

Comparisons MeasureVariables(const Settings& settings)
{
    constexpr std::size_t kCounts[] = {100, 1000, 10000, 100000, 1000000};
    const PeerProcess peer;
    ScriptObject object;
    object.Attach();
    const tvn::ComString macro = L"";
    const tvn::ComString name = L"variable";
    const tvn::ComString value = L"a value";
    const auto setAndPlay = [&](std::size_t count) {
        for (; count > 0; --count) {
            object.Set(name, value);
        }
        object.Play(macro);
    };
    Comparisons lines;
    for (const std::size_t count : kCounts) {
        const Pairs pairs = InterleaveTimes(
            settings.seconds, 5, kMillisecond, [&] { setAndPlay(count); },
            [&] {
                for (int tenth = 0; tenth < 10; ++tenth) {
                    setAndPlay(count / 10);
                }
            });
        lines.push_back(
            Compare(std::to_string(count), "ten times a tenth", "ms", pairs, Goal::NoMore, 1.1));
    }
    return lines;
}

Comparisons MeasureEscaping(const Settings& settings)
{
    std::wstring text(kLongText, L'x');
    for (std::size_t position = 2; position < text.size(); position += 3) {
        text[position] = L' ';
    }
    const std::wstring result = tvn::EncodeArg(text);
    const Pairs pairs = InterleaveTimes(
        settings.seconds, 5, kMillisecond, [&] { Keep(tvn::EncodeArg(text)); },
        [&] { Keep(std::wstring(result)); });
    return {Compare("64 MiB", "a copy of the result", "ms", pairs, Goal::NoMore, 3)};
}

Comparisons MeasureCutting(const Settings& settings)
{
    constexpr std::size_t kPieces = 1000000;
    std::wstring text;
    const std::size_t length = kLongText / kPieces - tvn::kExtractSeparator.size();
    for (std::size_t piece = 0; piece < kPieces; ++piece) {
        text += piece == 0 ? std::wstring_view() : tvn::kExtractSeparator;
        text.append(length, L'x');
    }
    std::vector<std::wstring_view> pieces;
    tvn::SplitExtracts(text, tvn::kExtractSeparator, pieces, true);
    Require(pieces.size() == kPieces, "the pieces are not as many as they should be");
    const Pairs pairs = InterleaveTimes(
        settings.seconds, 5, kMillisecond,
        [&] {
            std::vector<std::wstring_view> views;
            tvn::SplitExtracts(text, tvn::kExtractSeparator, views, true);
            Keep(views);
        },
        [&] { Keep(std::vector<std::wstring>(pieces.begin(), pieces.end())); });
    return {Compare("64 MiB", "copying each piece", "ms", pairs, Goal::NoMore, 1.3)};
}

Comparisons MeasureTexts(const Settings& settings)
{
    constexpr int kTimes = 100;
    const auto repeated = [&](const auto& work) {
        return [&work] {
            for (int left = kTimes; left > 0; --left) {
                work();
            }
        };
    };
    const std::wstring line(1024, L'x');
    const std::wstring macro(std::size_t{8} * 1024 * 1024, L'x');
    const auto logLine = [&] {
        tvn::LogDebug("cmd = %S", line.c_str());
    };
    const auto logMacro = [&] {
        tvn::LogDebug("cmd = %S", macro.c_str());
    };
    const std::wstring argument(20, L'x');
    const auto layOut = [&] {
        tvn::Serializer message = tvn::CommandsProtocol::NewCommand(1, tvn::kCommandPlay, argument);
        message.Serialize();
        Keep(message);
    };
    const auto append = [&] {
        std::vector<unsigned char> bytes(2 * sizeof(DWORD));
        for (const std::wstring_view text :
             {std::wstring_view(tvn::kCommandPlay), std::wstring_view(argument)}) {
            const auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
            const std::size_t at = bytes.size();
            bytes.resize(at + sizeof size + size);
            std::memcpy(bytes.data() + at, &size, sizeof size);
            std::memcpy(bytes.data() + at + sizeof size, text.data(), size);
        }
        Keep(bytes);
    };
    const double unit = kMicrosecond * kTimes;
    const Pairs lines =
        InterleaveTimes(settings.seconds, 20, unit, repeated(logMacro), repeated(logLine));
    const Pairs layouts =
        InterleaveTimes(settings.seconds, 100, unit, repeated(layOut), repeated(append));
    return {Compare("a line about 16 MiB", "one about 2 KiB", "µs", lines, Goal::None, 0),
            Compare("laying out a command", "appending to a vector", "µs", layouts, Goal::None, 0)};
}

}  // namespace bench
