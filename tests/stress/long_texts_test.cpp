// A very long macro, and a very long reply in very many pieces.

#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/moments.h"
#include "tests/other_side.h"
#include "tests/stress/cases.h"

namespace tvn::tests
{

TEST(LongTexts, ArriveWholeAndTakeNoMoreThanFourTimesTheirRoom)
{
    constexpr std::size_t kPieceSize = 100;
    const std::size_t pieces = std::min<std::size_t>(50'000 * Scale(), 1'000'000);
    const auto piece = [](std::size_t index) {
        std::string text = std::to_string(index);
        text.resize(kPieceSize, '.');
        return text;
    };
    std::string reply = piece(0);
    for (std::size_t index = 1; index < pieces; ++index) {
        reply += "[EXTRACT]" + piece(index);
    }
    std::wstring macro(reply.size(), L'\0');
    for (std::size_t index = 0; index < macro.size(); ++index) {
        macro[index] = static_cast<wchar_t>(0x4E00 + index % 0x4FF1);
    }
    OtherSide otherSide;
    std::wstring played;
    otherSide.Next(Stage::kPlay, [&](Turn& turn) {
        played = turn.argument;
        return turn.peer.Write(Message(turn.id, 1, reply));
    });
    AppClient app;
    ASSERT_EQ(app.Init("-runner", false), sOk);
    int status = 0;
    const talvern::Text text(macro);
    std::size_t peak = 0;
    const auto milliseconds = Elapsed([&] {
        const ImportWatch watch;
        app.Get()->tvnPlay(text.Get(), 120, reinterpret_cast<Status*>(&status));
        peak = watch.IsOpen().mostBytes;
    });
    EXPECT_EQ(status, sOk);
    EXPECT_TRUE(played == L" -macro " + macro + L" ");
    EXPECT_TRUE(app.LastExtract() == std::wstring(reply.begin(), reply.end()));
    const std::size_t last = std::min<std::size_t>(pieces, 0x7FFF);
    EXPECT_EQ(app.Extract(_variant_t(static_cast<long>(last))), piece(last - 1));
    for (const double index : {32768.0, 65536.0, 98303.0, 2147483647.0, 4294967297.0, -1.0}) {
        EXPECT_EQ(app.Extract(_variant_t(index)), "NODATA") << index;
    }
    EXPECT_LE(peak, 4 * sizeof(wchar_t) * reply.size());
    RecordProperty("bytes_of_each", std::to_string(reply.size() * sizeof(wchar_t)));
    RecordProperty("peak_bytes", std::to_string(peak));
    RecordProperty("milliseconds", std::to_string(milliseconds));
    app.Exit();
}

}  // namespace tvn::tests
