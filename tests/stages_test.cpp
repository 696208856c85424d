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

// ---- in which way

/// What kind of answer comes of it.
enum class Kind { Fine, Broken, Silent };

struct Way
{
    const char* name;
    Kind kind;
    bool onlyCommands;  ///< whose answers carry the id of what they answer
    bool (*act)(Turn& turn, std::size_t place);
    std::size_t (*places)(const Bytes& answer);  ///< at which it is done in turn
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

constexpr auto kOnce = [](const Bytes& /*answer*/) -> std::size_t {
    return 1;
};
constexpr auto kEveryByte = [](const Bytes& answer) {
    return answer.size();
};
constexpr auto kBetweenBytes = [](const Bytes& answer) {
    return answer.size() - 1;
};
constexpr auto kEveryLength = [](const Bytes& /*answer*/) {
    return std::size(kLengths);
};

constexpr Way kWays[] = {
    {"cut off and closed", Kind::Broken, false,
     [](Turn& turn, std::size_t place) {
         if (place != 0) {
             turn.peer.Write(Part(turn.answer, 0, place));
         }
         return false;
     },
     kEveryByte},
    {"in two messages", Kind::Broken, false, &WriteParts, kBetweenBytes},
    {"a length and nothing else", Kind::Broken, false,
     [](Turn& turn, std::size_t place) { return turn.peer.Write(Words({kLengths[place]})); },
     kEveryLength},
    {"a wrong length before sound fields", Kind::Fine, false,
     [](Turn& turn, std::size_t place) {
         SetLength(turn.answer, kLengths[place]);
         return turn.peer.Write(turn.answer);
     },
     kEveryLength},
    {"twice", Kind::Fine, false,
     [](Turn& turn, std::size_t /*place*/) {
         const bool written = turn.peer.Write(turn.answer);
         turn.peer.Write(turn.answer, 1000);  // whoever has its answer may have gone by then
         return written;
     },
     kOnce},
    {"behind some stale ones", Kind::Fine, true,
     [](Turn& turn, std::size_t /*place*/) {
         return WriteStale(turn, 3) && turn.peer.Write(turn.answer);
     },
     kOnce},
    {"stale ones without end", Kind::Silent, true,
     [](Turn& turn, std::size_t /*place*/) { return WriteStale(turn, INT_MAX); }, kOnce},
    {"nothing", Kind::Silent, false, [](Turn& turn, std::size_t /*place*/) { return Hold(turn); },
     kOnce},
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

    bool IsCommand() const
    {
        const Stage stage = GetParam().stage;
        return stage == Stage::Attach || stage == Stage::Play || stage == Stage::Display;
    }

    /// The call that comes to the moment.
    int Call(LONG seconds)
    {
        switch (GetParam().stage) {
            case Stage::Play:
                return app.Play("macro", seconds);
            case Stage::Display:
                return app.Client::Display(L"text", seconds);
            case Stage::Terminate:
                other.Next(Stage::WaitForExit, [](Turn& /*turn*/) { return false; });
                [[fallthrough]];
            case Stage::End:
            case Stage::WaitForExit:
                return app.Exit(seconds);
            default:
                app.Exit(1);
                return app.Init("-runner", GetParam().stage != Stage::List, seconds);
        }
    }

    /// Does it at each place; what was done is seen by the answer that it would have been.
    void Try(const Way& way, LONG seconds)
    {
        const int statuses[] = {sOk, GetParam().broken, GetParam().silent};
        std::size_t places = 1;
        for (std::size_t place = 0; place < places; ++place) {
            SCOPED_TRACE(place);
            places = 0;  // until the moment has come
            ExpectItWorks();
            other.Next(GetParam().stage, [&, place](Turn& turn) {
                places = way.places(turn.answer);
                return way.act(turn, place);
            });
            int status = 0;
            EXPECT_LT(Elapsed([&] { status = Call(seconds); }), Latest(seconds));
            EXPECT_EQ(status, statuses[static_cast<std::size_t>(way.kind)]);
            ASSERT_NE(places, 0U) << "the moment has not come";
        }
    }

    OtherSide other;
    AppClient app;
};

TEST_P(CallStages, EndInTimeWithTheirStatusInWhateverWayTheAnswerIsWrong)
{
    for (const Way& way : kWays) {
        SCOPED_TRACE(way.name);
        if (!way.onlyCommands || IsCommand()) {
            Try(way, way.kind == Kind::Silent ? 1 : 5);
        }
    }
    ExpectItWorks();
}

constexpr Moment kMoments[] = {
    {"List", Stage::List, sOk, sOk},  // a browser is started then
    {"Start", Stage::Start, sRunnerNotReachable, sRunnerNotReachable},
    {"Callback", Stage::Callback, sFail, sTimeout},
    {"Attach", Stage::Attach, sFail, sFail},
    {"Play", Stage::Play, sFail, sTimeout},
    {"Display", Stage::Display, sFail, sTimeout},
    {"End", Stage::End, sOk, sOk},                  // it is awaited
    {"WaitForExit", Stage::WaitForExit, sOk, sOk},  // and then ended
    {"Terminate", Stage::Terminate, sFail, sFail},
};
INSTANTIATE_TEST_SUITE_P(Each, CallStages, testing::ValuesIn(kMoments),
                         [](const auto& moment) { return moment.param.name; });

// ---- an other side that does not come so far

static bool AnswerAndHold(Turn& turn)
{
    return turn.peer.Write(turn.answer) && Hold(turn);
}

static bool AnswerReadPartAndHold(Turn& turn)
{
    return turn.peer.Write(turn.answer) && turn.peer.ReadPart(4) && Hold(turn);
}

using Acts = std::vector<std::pair<Stage, bool (*)(Turn&)>>;

struct Halt
{
    const char* name;
    std::function<int(AppClient& app, LONG seconds)> call;
    int status;
    Acts acts;
    bool attached = true;  ///< before the call
    OtherSide::Pipes pipes = OtherSide::Pipes::Both;
};

static std::vector<Halt> Inits()
{
    using Pipes = OtherSide::Pipes;
    const auto start = [](AppClient& app, LONG seconds) {
        return app.Init("-runner", true, seconds);
    };
    const auto startLong = [](AppClient& app, LONG seconds) {
        return app.Init(("-runner " + std::string(500000, 'x')).c_str(), true, seconds);
    };
    const auto attach = [](AppClient& app, LONG seconds) {
        return app.Init("-runner", false, seconds);
    };
    const auto readPart = [](Turn& turn) {
        return turn.peer.ReadPart(4) && Hold(turn);
    };
    const auto answerAndGo = [](Turn& turn) {
        turn.peer.Write(turn.answer);
        return false;
    };
    return {
        {"no runner", start, sRunnerNotReachable, {}, false, Pipes::CommandsOnly},
        {"a runner and no instance", attach, sFail, {}, false, Pipes::RunnerOnly},
        {"a deaf runner", startLong, sTimeout, {{Stage::Runner, &Hold}}, false},
        {"a runner that reads a part", startLong, sTimeout, {{Stage::Runner, readPart}}, false},
        {"no callback", start, sTimeout, {{Stage::Start, answerAndGo}}, false},
    };
}

static std::vector<Halt> CallsOfAnAttachedObject()
{
    const auto exit = [](AppClient& app, LONG seconds) {
        return app.Exit(seconds);
    };
    const Acts deaf = {{Stage::Attach, &AnswerAndHold}};
    const Acts readsPart = {{Stage::Attach, &AnswerReadPartAndHold}};
    const Acts waits = {{Stage::End, &Hold}, {Stage::WaitForExit, &Hold}};
    const Acts ends = {{Stage::WaitForExit, &Hold}, {Stage::Terminate, &Hold}};
    std::vector<Halt> halts = {
        {"an exit, deaf", exit, sOk, deaf},
        {"an exit, no answer to it and to its wait", exit, sOk, waits},
        {"an exit, no answer to its termination", exit, sFail, ends},
    };
    for (const std::size_t length : {5U, 1U << 20U}) {
        const std::wstring text(length, L'x');
        const auto play = [text](AppClient& app, LONG seconds) {
            return app.Client::Play(text, seconds);
        };
        const auto display = [text](AppClient& app, LONG seconds) {
            return app.Client::Display(text, seconds);
        };
        for (const Acts& acts : {deaf, readsPart}) {
            halts.push_back({"a play", play, sTimeout, acts});
            halts.push_back({"a display", display, sTimeout, acts});
        }
    }
    return halts;
}

static void ExpectInTime(const Halt& halt, LONG seconds)
{
    SCOPED_TRACE(testing::Message() << halt.name << ", " << seconds << " s");
    AppClient app;
    OtherSide other(halt.pipes);
    for (const auto& [stage, act] : halt.acts) {
        other.Next(stage, act);
    }
    ASSERT_TRUE(!halt.attached || app.Init("-runner", true, 10) == sOk);
    int status = 0;
    EXPECT_LT(Elapsed([&] { status = halt.call(app, seconds); }), Latest(seconds));
    // Without any time, it depends on how far it comes.
    const auto any = testing::AnyOf(halt.status, +sTimeout, +sFail, +sRunnerNotReachable);
    EXPECT_THAT(status, seconds == 0 ? testing::Matcher<int>(any) : halt.status);
    EXPECT_LT(Elapsed([&] { app.Exit(0); }), kSlack);
}

TEST(Stages, EndInTimeWhenTheOtherSideComesNoFurther)
{
    for (const auto& halts : {Inits(), CallsOfAnAttachedObject()}) {
        for (const Halt& halt : halts) {
            ExpectInTime(halt, 1);
            ExpectInTime(halt, 0);
        }
    }
}

}  // namespace tvn::tests
