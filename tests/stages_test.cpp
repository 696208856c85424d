// What each call gives, and when, if the other side misbehaves at each moment at which the call
// waits for it: as each of them is reached, and in each way in which a message can be wrong.

#include <gmock/gmock.h>

#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/moments.h"
#include "tests/other_side.h"

namespace tvn::tests
{

constexpr long long kSlack = 1500;  ///< milliseconds that a busy machine may take

/// Milliseconds in which a call with a time-out of so many seconds is back.
static long long Latest(LONG seconds)
{
    return 1000LL * seconds + kSlack;
}

/// The call that comes to this stage, with a text of so many characters.
static int Call(AppClient& app, Stage stage, LONG seconds, std::size_t length = 5)
{
    const std::wstring text(length, L'x');
    switch (stage) {
        case Stage::kPlay:
            return app.Client::Play(text, seconds);
        case Stage::kDisplay:
            return app.Client::Display(text, seconds);
        case Stage::kEnd:
        case Stage::kWaitForExit:
        case Stage::kTerminate:
            return app.Exit(seconds);
        default:
            return app.Init("-runner", stage != Stage::kList, seconds);
    }
}

// ---- in which way

/// What kind of answer comes of it.
enum class Kind { kFine, kBroken, kSilent };

struct Way
{
    const char* name;
    Kind kind;
    bool onlyCommands;  ///< whose answers carry the id of what they answer
    bool (*act)(Turn& turn, std::size_t place);
    int places;  ///< at which it is done in turn; from 0 down, added to the bytes of the answer
};

static Bytes Part(const Bytes& bytes, std::size_t from, std::size_t to)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

static bool Hold(Turn& turn)
{
    turn.peer.Hold();
    return false;
}

/// The answer to another request, so many times.
static bool WriteStale(Turn& turn, int times)
{
    Bytes stale = turn.answer;
    ++stale[4];
    while (times > 0 && turn.peer.Write(stale)) {
        --times;
    }
    return times == 0;
}

/// Both parts have bytes: an empty message may end a wait without being read.
static bool WriteParts(Turn& turn, std::size_t place)
{
    return turn.peer.Write(Part(turn.answer, 0, place + 1)) &&
           turn.peer.Write(Part(turn.answer, place + 1, turn.answer.size()));
}

constexpr std::uint32_t kLengths[] = {0, 3, 4, 5, 0x7FFFFFFF, 0xFFFFFFFF};

constexpr int kOnePlace = 1;
constexpr int kEveryByte = 0;
constexpr int kBetweenBytes = -1;
constexpr int kEveryLength = std::size(kLengths);

constexpr Way kWays[] = {
    {"cut off and closed", Kind::kBroken, false,
     [](Turn& turn, std::size_t place) {
         if (place != 0) {
             turn.peer.Write(Part(turn.answer, 0, place));
         }
         return false;
     },
     kEveryByte},
    {"in two messages", Kind::kBroken, false, &WriteParts, kBetweenBytes},
    {"a length and nothing else", Kind::kBroken, false,
     [](Turn& turn, std::size_t place) { return turn.peer.Write(Words({kLengths[place]})); },
     kEveryLength},
    {"a wrong length before sound fields", Kind::kFine, false,
     [](Turn& turn, std::size_t place) {
         SetLength(turn.answer, kLengths[place]);
         return turn.peer.Write(turn.answer);
     },
     kEveryLength},
    {"twice", Kind::kFine, false,
     [](Turn& turn, std::size_t /*place*/) {
         const bool written = turn.peer.Write(turn.answer);
         turn.peer.Write(turn.answer, 1000);  // whoever has its answer may have gone by then
         return written;
     },
     kOnePlace},
    {"behind some stale ones", Kind::kFine, true,
     [](Turn& turn, std::size_t /*place*/) {
         return WriteStale(turn, 3) && turn.peer.Write(turn.answer);
     },
     kOnePlace},
    {"stale ones without end", Kind::kSilent, true,
     [](Turn& turn, std::size_t /*place*/) { return WriteStale(turn, INT_MAX); }, kOnePlace},
    {"nothing", Kind::kSilent, false, [](Turn& turn, std::size_t /*place*/) { return Hold(turn); },
     kOnePlace},
};

// ---- at which moment

struct Moment
{
    const char* name;
    Stage stage;
    int broken;  ///< the status when the answer is none
    int silent;  ///< and when none comes
};

static void PrintTo(const Moment& moment, std::ostream* out)
{
    *out << moment.name;
}

class CallStages : public testing::TestWithParam<Moment>
{
  protected:
    ~CallStages() override { app.Exit(1); }

    /// Attached and playing, whatever was before.
    void ExpectItWorks()
    {
        other.Oblige();
        app.Exit(1);
        EXPECT_EQ(app.Init("-runner", false, 5), sOk);
        EXPECT_EQ(app.Played("again", 5), "1||played[EXTRACT]well|played|well");
    }

    /// Brings the other side and the object to where the call begins.
    void Begin()
    {
        ExpectItWorks();
        if (GetParam().stage < Stage::kPlay) {
            app.Exit(1);
        } else if (GetParam().stage == Stage::kTerminate) {
            other.Next(Stage::kWaitForExit, [](Turn& /*turn*/) { return false; });
        }
    }

    /// Misbehaves in this way at each place in turn: as many as the undisturbed answer has.
    void Try(const Way& way, LONG seconds)
    {
        const int statuses[] = {sOk, GetParam().broken, GetParam().silent};
        int places = 1;
        for (int place = 0; place < places; ++place) {
            SCOPED_TRACE(place);
            places = 0;  // until the moment has come
            Begin();
            other.Next(GetParam().stage, [&, place](Turn& turn) {
                places = way.places + (way.places > 0 ? 0 : static_cast<int>(turn.answer.size()));
                return way.act(turn, static_cast<std::size_t>(place));
            });
            int status = 0;
            EXPECT_LT(Elapsed([&] { status = Call(app, GetParam().stage, seconds); }),
                      Latest(seconds));
            EXPECT_EQ(status, statuses[static_cast<std::size_t>(way.kind)]);
            ASSERT_NE(places, 0) << "the moment has not come";
        }
    }

    OtherSide other;
    AppClient app;
};

TEST_P(CallStages, EndInTimeWithTheirStatusInWhateverWayTheAnswerIsWrong)
{
    const Stage stage = GetParam().stage;
    const bool isCommand = stage >= Stage::kAttach && stage <= Stage::kDisplay;
    for (const Way& way : kWays) {
        SCOPED_TRACE(way.name);
        if (!way.onlyCommands || isCommand) {
            Try(way, way.kind == Kind::kSilent ? 1 : 5);
        }
    }
    Begin();
    other.Next(stage, &Hold);
    EXPECT_LT(Elapsed([&] { Call(app, stage, 0); }), Latest(0));
    ExpectItWorks();
}

constexpr Moment kMoments[] = {
    {"List", Stage::kList, sOk, sOk},  // a browser is started then
    {"Start", Stage::kStart, sRunnerNotReachable, sRunnerNotReachable},
    {"Callback", Stage::kCallback, sFail, sTimeout},
    {"Attach", Stage::kAttach, sFail, sFail},
    {"Play", Stage::kPlay, sFail, sTimeout},
    {"Display", Stage::kDisplay, sFail, sTimeout},
    {"End", Stage::kEnd, sOk, sOk},                  // it is awaited
    {"WaitForExit", Stage::kWaitForExit, sOk, sOk},  // and then ended
    {"Terminate", Stage::kTerminate, sFail, sFail},
};
INSTANTIATE_TEST_SUITE_P(Each, CallStages, testing::ValuesIn(kMoments),
                         [](const auto& moment) { return moment.param.name; });

// ---- an instance that reads no further

static bool AnswerAndHold(Turn& turn)
{
    return turn.peer.Write(turn.answer) && Hold(turn);
}

static bool AnswerReadPartAndHold(Turn& turn)
{
    return turn.peer.Write(turn.answer) && turn.peer.ReadPart(4) && Hold(turn);
}

TEST(Stages, EndInTimeWhenTheInstanceReadsNothingOrAPartOfALongText)
{
    for (const auto act : {&AnswerAndHold, &AnswerReadPartAndHold}) {
        for (const Stage stage : {Stage::kPlay, Stage::kDisplay}) {
            for (const LONG seconds : {1, 0}) {
                SCOPED_TRACE(testing::Message() << static_cast<int>(stage) << ' ' << seconds);
                AppClient app;
                OtherSide other;
                other.Next(Stage::kAttach, act);
                ASSERT_EQ(app.Init("-runner", true, 10), sOk);
                const auto call = [&] {
                    EXPECT_EQ(Call(app, stage, seconds, 1U << 20U), sTimeout);
                };
                EXPECT_LT(Elapsed(call), Latest(seconds));
                EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Exit(1), sOk); }), Latest(1));
            }
        }
    }
}

}  // namespace tvn::tests
