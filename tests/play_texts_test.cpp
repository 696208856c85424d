// The texts of a play, in both directions.

#include "Interface/PlayTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "tests/resources.h"

namespace tvn::tests
{

using Pieces = std::vector<std::wstring_view>;

static Pieces Split(std::wstring_view text, bool keepEmpty = true)
{
    Pieces pieces = {L"what was there before"};
    SplitExtracts(text, L"[EXTRACT]", pieces, keepEmpty);
    return pieces;
}

TEST(PlayTexts, BlanksAndLineEndsOfMacrosAndValuesHaveMarks)
{
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"", L""},
        {L"plain\ttext\x01", L"plain\ttext\x01"},
        {L" \r\n ", L"[SP][BR][LF][SP]"},
        {L"a b\nc\rd", L"a[SP]b[LF]c[BR]d"},
        {L"[SP]", L"[SP]"},
        {std::wstring(L"nul\0 \u2028", 6), std::wstring(L"nul\0[SP]\u2028", 9)},
    };
    for (const auto& [text, encoded] : cases) {
        EXPECT_EQ(EncodeArg(text), encoded) << text;
    }
}

TEST(PlayTexts, TheArgumentOfAPlayIsTheMacroAndThenTheVariables)
{
    std::wstring argument;
    AppendVariable(argument, L"city", L"New York");
    AppendVariable(argument, L"-site", L"a\nb");
    AppendVariable(argument, L"two words", L"");
    AppendVariable(argument, L"", L"x");
    MakePlayArgument(L"goto home", argument);
    EXPECT_EQ(argument,
              L" -macro goto[SP]home  -var_city New[SP]York -site a[LF]b -var_two words  -var_ x");
    argument.clear();
    MakePlayArgument(L"", argument);
    EXPECT_EQ(argument, L" -macro  ");
}

TEST(PlayTexts, AReplyBeginsWithItsErrorWhenItHasOne)
{
    const std::array<std::wstring, 3> cases[] = {
        {L"", L"", L""},
        {L"all extract", L"", L"all extract"},
        {L"Stop[tvn!E!tvn]", L"Stop (-100)", L""},
        {L"Stop[tvn!E!tvn]a[tvn!E!tvn]b", L"Stop (-100)", L"a[tvn!E!tvn]b"},
        {L"[tvn!E!tvn]a", L"", L"[tvn!E!tvn]a"},
        {L"[tvn!E!tvn[tvn!E!tvn]a", L"[tvn!E!tvn (-100)", L"a"},
        {L"[tvn!E!tvn", L"", L"[tvn!E!tvn"},
    };
    for (const auto& [reply, error, extract] : cases) {
        std::wstring parsed = L"old";
        std::wstring_view rest = L"old";
        ParseReply(reply, -100, parsed, rest);
        EXPECT_EQ(parsed, error) << reply;
        EXPECT_EQ(rest, extract) << reply;
    }
}

TEST(PlayTexts, ExtractsAreCutAtEverySeparatorWhereverItLies)
{
    EXPECT_EQ(Split(L""), Pieces());
    EXPECT_EQ(Split(L"[EXTRACT]"), (Pieces{L"", L""}));
    EXPECT_EQ(Split(L"[EXTRACT"), Pieces{L"[EXTRACT"});
    EXPECT_EQ(Split(L"[EXTRACT][EXTRACT]a"), (Pieces{L"", L"", L"a"}));
    EXPECT_EQ(Split(L"[EXTRACT]a[EXTRACT][EXTRACT]", false), Pieces{L"a"});
    // Around each block size of the search, with partial matches, at every alignment.
    for (std::size_t before = 0; before < 100; ++before) {
        for (const wchar_t filling : {L'x', L'['}) {
            const std::wstring piece(before, filling);
            const std::wstring rest(100 - before, filling);
            const std::wstring text = piece + L"[EXTRACT]" + rest;
            EXPECT_EQ(Split(text), (Pieces{piece, rest})) << before << (filling == L'x');
            EXPECT_EQ(Split(text.substr(0, before + 8)), Pieces{text.substr(0, before + 8)});
        }
    }
}

TEST(PlayTexts, TextsFourTimesAsLongTakeFourTimesTheMemoryAndNotSixteen)
{
    const auto bytes = [](std::size_t count) {
        std::wstring argument;
        std::wstring reply;
        g_allocatedBytes = 0;
        for (std::size_t number = 0; number < count; ++number) {
            AppendVariable(argument, L"variable", L"a value");
            reply += L"[EXTRACT]piece";
        }
        MakePlayArgument(std::wstring(10 * count, L' '), argument);
        Split(reply);
        return g_allocatedBytes;
    };
    EXPECT_LT(bytes(4000), 6 * bytes(1000));
}

}  // namespace tvn::tests
