// The other side stops at every point at which it can: each call has to come back in its time.

#include <algorithm>
#include <functional>
#include <map>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/Counterpart.h"
#include "soak/ScriptingObject.h"
#include "soak/StandinBrowsers.h"
#include "soak/Stopwatch.h"

namespace soak
{
namespace
{

constexpr double kMostOver = 250;

constexpr const char* kPoints[] = {
    "before the pipe exists",     "before connecting", "after connecting", "before reading",
    "in the middle of a message", "before replying",   "before ending"};
enum Point { NoPipe, NoConnect, Connected, NoRead, Middle, NoReply, NoEnd };

// ---- how the other side stops

bool Hang(Turn& turn)
{
    turn.link.Hang();
    return false;
}

/// Does what it was asked, and never reads again.
bool AnswerAndHang(Turn& turn)
{
    turn.link.Write(turn.answer);
    return Hang(turn);
}

/// The same, but takes the first bytes of what comes next.
bool AnswerAndReadPart(Turn& turn)
{
    turn.link.Write(turn.answer);
    turn.link.ReadPart(4);
    return Hang(turn);
}

/// Does what it was asked and is gone.
bool AnswerAndGo(Turn& turn)
{
    turn.link.Write(turn.answer);
    return false;
}

// ---- the cases

using Serves = Counterpart::Serves;
using Acts = std::vector<std::pair<Stage, Counterpart::Act>>;

struct HangCase
{
    const char* method;
    Point point;
    LONG seconds;
    bool attached;  ///< before the call, by a start through the runner or of the stand-in
    std::function<int(ScriptingObject& object, LONG seconds)> call;
    Acts acts;
    Serves serves = Serves::All;
    const char* standin = nullptr;  ///< how the stand-in browser of its own process behaves
};

int Start(ScriptingObject& object, LONG seconds)
{
    return object.Init("-runner", true, seconds);
}

int Attach(ScriptingObject& object, LONG seconds)
{
    return object.Init("-runner", false, seconds);
}

int StartOwn(ScriptingObject& object, LONG seconds)
{
    return object.Init("", true, seconds);
}

int Play(ScriptingObject& object, LONG seconds)
{
    return object.Play(L"macro", seconds);
}

int PlayLong(ScriptingObject& object, LONG seconds)
{
    return object.Play(std::wstring(1U << 20U, L'x'), seconds);
}

int DisplayLong(ScriptingObject& object, LONG seconds)
{
    return object.Display(std::wstring(1U << 20U, L'x'), seconds);
}

int Display(ScriptingObject& object, LONG seconds)
{
    return object.Display(L"text", seconds);
}

int Exit(ScriptingObject& object, LONG seconds)
{
    return object.Exit(seconds);
}

int StartWithLongLine(ScriptingObject& object, LONG seconds)
{
    return object.Init(("-runner " + std::string(1U << 19U, 'x')).c_str(), true, seconds);
}

std::vector<HangCase> Cases()
{
    const char* const start = "tvnInit, runner, new browser";
    const char* const attach = "tvnInit, runner, free browser";
    const char* const own = "tvnInit, own process";
    const char* const play = "tvnPlay";
    const char* const display = "tvnDisplay";
    const char* const exit = "tvnExit, runner";
    const char* const exitOwn = "tvnExit, own process";
    std::vector<HangCase> cases = {
        {start, NoPipe, 2, false, &Start, {}, Serves::CommandsOnly},
        {start, NoPipe, 2, false, &Start, {}, Serves::RunnerOnly},
        {start, NoConnect, 2, false, &Start, {{Stage::Start, &AnswerAndGo}}},
        {start, Connected, 2, false, &Start, {{Stage::Callback, &Hang}}},
        {start, NoRead, 2, false, &StartWithLongLine, {}, Serves::DeafRunner},
        {start, Middle, 2, false, &StartWithLongLine, {}, Serves::RunnerReadsPart},
        {start, NoReply, 2, false, &Start, {{Stage::Start, &Hang}}},
        {start, NoReply, 2, false, &Start, {{Stage::Attach, &Hang}}},
        {attach, NoPipe, 2, false, &Attach, {}, Serves::RunnerOnly},
        {attach, NoRead, 2, false, &Attach, {}, Serves::DeafRunner},
        {attach, NoReply, 2, false, &Attach, {{Stage::List, &Hang}, {Stage::Start, &Hang}}},
        {attach, NoReply, 2, false, &Attach, {{Stage::Attach, &Hang}, {Stage::Start, &Hang}}},
        {own, NoPipe, 4, false, &StartOwn, {}, Serves::All, "end"},
        {own, NoPipe, 4, false, &StartOwn, {}, Serves::All, "no-pipe"},
        {own, NoConnect, 4, false, &StartOwn, {}, Serves::All, "no-callback"},
        {own, Connected, 4, false, &StartOwn, {}, Serves::All, "silent-callback"},
        {own, NoReply, 4, false, &StartOwn, {}, Serves::All, "no-answer"},
        {exit, NoReply, 3, true, &Exit, {{Stage::End, &Hang}}},
        {exit, NoReply, 3, true, &Exit, {{Stage::End, &Hang}, {Stage::WaitForExit, &Hang}}},
        {exit, NoRead, 3, true, &Exit, {{Stage::Attach, &AnswerAndHang}}},
        {exit, NoEnd, 3, true, &Exit, {{Stage::WaitForExit, &Hang}}},
        {exit, NoEnd, 3, true, &Exit, {{Stage::WaitForExit, &Hang}, {Stage::Terminate, &Hang}}},
        {exitOwn, NoEnd, 3, true, &Exit, {}, Serves::All, "stay"},
    };
    for (const bool isLong : {false, true}) {
        const auto playing = isLong ? &PlayLong : &Play;
        const auto displaying = isLong ? &DisplayLong : &Display;
        const Acts parts = {{Stage::Attach, &AnswerAndReadPart}};
        const Acts deaf = {{Stage::Attach, &AnswerAndHang}};
        cases.push_back({play, NoRead, 1, true, playing, deaf});
        cases.push_back({play, Middle, 1, true, playing, parts});
        cases.push_back({play, NoReply, 1, true, playing, {{Stage::Play, &Hang}}});
        cases.push_back({display, NoRead, 1, true, displaying, deaf});
        cases.push_back({display, Middle, 1, true, displaying, parts});
        cases.push_back({display, NoReply, 1, true, displaying, {{Stage::Display, &Hang}}});
    }
    return cases;
}

// ---- the course of one case

class HangRun
{
  public:
    /// The milliseconds after its time with which the call came back: the least of three tries,
    /// since the machine has other things to do. Notes what went wrong.
    double Measure(const HangCase& hang, LONG seconds)
    {
        double over = 0;
        for (int tries = 0; tries < 3; ++tries) {
            const double once = Once(hang, seconds);
            over = tries == 0 ? once : std::min(over, once);
            if (over <= kMostOver || !m_wrong.empty()) {
                break;
            }
        }
        if (m_wrong.empty() && over > kMostOver) {
            m_wrong = "returned " + std::to_string(static_cast<int>(over)) + " ms after its time";
        }
        return over;
    }

    const std::string& Wrong() const { return m_wrong; }

  private:
    double Once(const HangCase& hang, LONG seconds)
    {
        m_wrong.clear();
        ScriptingObject object;
        double over = 0;
        {
            Counterpart counterpart(hang.serves);
            SetBrowserFault(hang.standin);
            for (const auto& [stage, act] : hang.acts) {
                counterpart.Next(stage, act);
            }
            const auto init = hang.standin == nullptr ? &Start : &StartOwn;
            if (hang.attached && init(object, 10) != tvn::sOk) {
                m_wrong = "the init before it failed";
                return 0;
            }
            const Stopwatch watch;
            const int status = hang.call(object, seconds);
            over = watch.Milliseconds() - 1000 * seconds;
            if (status == ScriptingObject::kNotOk) {
                m_wrong = "the method did not return S_OK";
            }
            CheckExit(object);
        }
        SetBrowserFault(nullptr);
        if (hang.standin != nullptr) {
            EndBrowsers();
        }
        Counterpart obliging;
        if (m_wrong.empty() && Start(object, 5) != tvn::sOk) {
            m_wrong = "the next init failed";
        }
        object.Exit(3);
        return over;
    }

    /// Whatever hangs, the object can be detached in time.
    void CheckExit(ScriptingObject& object)
    {
        constexpr LONG kSeconds = 1;
        const Stopwatch watch;
        object.Exit(kSeconds);
        const double over = watch.Milliseconds() - 1000 * kSeconds;
        if (over > 2 * kMostOver && m_wrong.empty()) {
            m_wrong = "the exit after it took " + std::to_string(static_cast<int>(over)) +
                      " ms more than its time";
        }
    }

    std::string m_wrong;
};

/// The latest returns of a method at a point: with the usual time-out and with none.
struct Latest
{
    double usual = -1e9;
    double none = -1e9;
};

std::string& Cell(Table& table, const HangCase& hang)
{
    auto row = std::find_if(table.begin(), table.end(),
                            [&](const auto& cells) { return cells.front() == hang.method; });
    if (row == table.end()) {
        table.emplace_back(std::size(kPoints) + 1, "");
        row = table.end() - 1;
        row->front() = hang.method;
    }
    return (*row)[static_cast<std::size_t>(hang.point) + 1];
}

}  // namespace

void RunHangs(const Settings& settings, Journal& journal)
{
    HangRun run;
    Table table(1, {"method"});
    table.front().insert(table.front().end(), std::begin(kPoints), std::end(kPoints));
    std::map<std::pair<std::string, Point>, Latest> cells;
    const std::vector<HangCase> cases = Cases();
    for (std::size_t index = 0; index < cases.size(); ++index) {
        const HangCase& hang = cases[index];
        if ((settings.onlyCase && *settings.onlyCase != index) ||
            (settings.shortForm && (hang.seconds > 1 || index % 3 != 0))) {
            continue;
        }
        Journal::NoteCase("--case", index);
        journal.Progress(static_cast<double>(index) / static_cast<double>(cases.size()),
                         hang.method);
        Latest& latest = cells[{hang.method, hang.point}];
        // A time-out of 0 is one too.
        for (const LONG seconds : {hang.seconds, 0L}) {
            const double over = run.Measure(hang, seconds);
            double& worst = seconds == 0 ? latest.none : latest.usual;
            worst = std::max(worst, over);
            journal.Count(1, run.Wrong().empty() ? 1 : 0);
            if (!run.Wrong().empty()) {
                journal.Fault(std::string(hang.method) + ", the other side stops " +
                              kPoints[hang.point] + ", time-out " + std::to_string(seconds) +
                              " s: " + run.Wrong());
            }
        }
        Cell(table, hang) = std::to_string(static_cast<int>(latest.usual)) + " / " +
                            std::to_string(static_cast<int>(latest.none));
    }
    journal.AddTable(
        "Milliseconds after its time-out with which a call comes back when the other "
        "side stops: with a time-out of 1 to 4 seconds, and with one of 0",
        table);
}

}  // namespace soak
