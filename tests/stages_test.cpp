// What each call gives, and when, if the other side misbehaves at each moment at which the call
// waits for it: as each of them is reached, and in each way in which a message can be wrong.

#include <gmock/gmock.h>

#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/moments.h"
#include "tests/other_side.h"

namespace tvn::tests
{

/// Milliseconds behind its time-out in which a call is back on a busy machine.
constexpr long long kSlack = 1500;

/// The call that comes to this stage.
static int Call(AppClient& app, Stage stage, LONG seconds)
{
    switch (stage) {
        case Stage::kPlay:
            return app.Play("macro", seconds);
        case Stage::kDisplay:
            return app.Client::Display(L"text", seconds);
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
    bool (*act)(Turn& turn, std::size_t place);
    Kind kind;
    int places;  ///< at which it is done in turn; from 0 down, added to the bytes of the answer
};

static Bytes Part(const Bytes& bytes, std::size_t from, std::size_t to)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(to)};
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
    {"cut off and closed",
     [](Turn& turn, std::size_t place) {
         if (place != 0) {
             turn.peer.Write(Part(turn.answer, 0, place));
         }
         return false;
     },
     Kind::kBroken, kEveryByte},
    {"in two messages", &WriteParts, Kind::kBroken, kBetweenBytes},
    {"a length and nothing else",
     [](Turn& turn, std::size_t place) { return turn.peer.Write(Words({kLengths[place]})); },
     Kind::kBroken, kEveryLength},
    {"a wrong length before sound fields",
     [](Turn& turn, std::size_t place) {
         SetLength(turn.answer, kLengths[place]);
         return turn.peer.Write(turn.answer);
     },
     Kind::kFine, kEveryLength},
    {"twice",
     [](Turn& turn, std::size_t /*place*/) {
         const bool written = turn.peer.Write(turn.answer);
         turn.peer.Write(turn.answer, 1000);  // whoever has its answer may have gone by then
         return written;
     },
     Kind::kFine, kOnePlace},
    {"nothing", [](Turn& turn, std::size_t /*place*/) { return Hold(turn); }, Kind::kSilent,
     kOnePlace},
};

// ---- at which moment

struct Moment
{
    const char* name;
    Stage stage;
    int broken;  ///< the status when the answer is none
    int silent;  ///< and when none comes

    friend void PrintTo(const Moment& moment, std::ostream* out) { *out << moment.name; }
};

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
                      1000LL * seconds + kSlack);
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
    for (const Way& way : kWays) {
        SCOPED_TRACE(way.name);
        Try(way, way.kind == Kind::kSilent ? 1 : 5);
    }
    Begin();
    other.Next(stage, &Hold);
    EXPECT_LT(Elapsed([&] { Call(app, stage, 0); }), kSlack);
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

}  // namespace tvn::tests
