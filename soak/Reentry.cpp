// During each wait of each method, a window message calls every other one, of the same object and
// of another, releases both and makes one. What was freed is inaccessible meanwhile.

#include <windows.h>

#include <functional>
#include <memory>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/Counterpart.h"
#include "soak/NestedCall.h"
#include "soak/OwnMemory.h"
#include "soak/ScriptingObject.h"

namespace soak
{
namespace
{

constexpr LONG kSeconds = 10;
constexpr int kText = 1;  ///< a getter that gives something

/// A wait of a method: the stage for which it waits.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the rows below read in this order
struct Outer
{
    const char* name;
    Stage stage;
    bool initialises;  ///< tvnInit, else a method of an attached object
    bool commandRuns;  ///< a command on the instance's own pipe
    const char* line;  ///< with which the object is, or gets, attached
    bool openNew = true;
};

constexpr const char* kRunner = "-runner";
constexpr const char* kRunnerFirefox = "-runner -fx";

constexpr Outer kOuters[] = {
    {"tvnInit, list", Stage::List, true, false, kRunner, false},
    {"tvnInit, start", Stage::Start, true, false, kRunner},
    {"tvnInit, callback", Stage::Callback, true, false, kRunner},
    {"tvnInit, attach", Stage::Attach, true, false, kRunner},
    {"tvnPlay", Stage::Play, false, true, kRunner},
    {"tvnPlay, Firefox", Stage::Play, false, true, kRunnerFirefox},
    {"tvnDisplay", Stage::Display, false, true, kRunner},
    {"tvnExit, command", Stage::End, false, true, kRunner},
    {"tvnExit, wait", Stage::WaitForExit, false, false, kRunner},
    {"tvnExit, termination", Stage::Terminate, false, false, kRunner},
};

/// The two objects of one case.
struct Pair
{
    std::unique_ptr<ScriptingObject> same;
    std::unique_ptr<ScriptingObject> other;
};

struct Inner
{
    const char* name;
    bool ofOther;
    std::function<int(Pair& pair)> call;

    /// What it has to answer during `outer`.
    std::function<int(const Outer& outer)> answer;
};

int Always(const Outer& /*outer*/)
{
    return tvn::sOk;
}

int WhenNested(const Outer& outer, int initialising, int running, int otherwise)
{
    return outer.initialises ? initialising : outer.commandRuns ? running : otherwise;
}

int NestedCommand(const Outer& outer)
{
    return WhenNested(outer, tvn::sNotStarted, tvn::sFail, tvn::sOk);
}

int NestedExit(const Outer& outer)
{
    // The browser is not told while a command runs; all but Firefox are ended all the same.
    const bool firefox = outer.line == kRunnerFirefox;
    return WhenNested(outer, tvn::sNotStarted, firefox ? tvn::sFail : tvn::sOk, tvn::sOk);
}

int NestedInit(const Outer& /*outer*/)
{
    return tvn::sInternal;
}

int NestedExitAndInit(const Outer& outer)
{
    return outer.initialises ? tvn::sInternal : tvn::sOk;
}

int GiveText(const std::wstring& text)
{
    return text == L"<none>" ? 0 : kText;
}

std::vector<Inner> Inners()
{
    return {
        {"tvnInit", false, [](Pair& p) { return p.same->Init(kRunner, true, kSeconds); },
         &NestedInit},
        {"tvnPlay", false, [](Pair& p) { return p.same->Play(L"nested", kSeconds); },
         &NestedCommand},
        {"tvnDisplay", false, [](Pair& p) { return p.same->Display(L"nested", kSeconds); },
         &NestedCommand},
        {"tvnExit", false, [](Pair& p) { return p.same->Exit(kSeconds); }, &NestedExit},
        {"tvnExit, tvnInit", false,
         [](Pair& p) {
             p.same->Exit(kSeconds);
             return p.same->Init(kRunner, true, kSeconds);
         },
         &NestedExitAndInit},
        {"tvnSet", false, [](Pair& p) { return p.same->Set(L"nested", L"value"); }, &Always},
        {"tvnGetLastError", false, [](Pair& p) { return GiveText(p.same->Error()); }, &Always},
        {"tvnGetLastExtract", false, [](Pair& p) { return GiveText(p.same->Extract(1)); }, &Always},
        {"tvnGetInterfaceVersion", false,
         [](Pair& p) { return p.same->Version() == 6300216 ? kText : 0; }, &Always},
        {"Release", false,
         [](Pair& p) {
             p.same->Release();
             return kText;
         },
         &Always},
        {"other tvnInit", true,
         [](Pair& p) {
             p.other->Exit(kSeconds);
             return p.other->Init(kRunner, true, kSeconds);
         },
         &Always},
        {"other tvnPlay", true, [](Pair& p) { return p.other->Play(L"nested", kSeconds); },
         &Always},
        {"other tvnDisplay", true, [](Pair& p) { return p.other->Display(L"text", kSeconds); },
         &Always},
        {"other tvnExit", true, [](Pair& p) { return p.other->Exit(kSeconds); }, &Always},
        {"other tvnSet", true, [](Pair& p) { return p.other->Set(L"name", L"value"); }, &Always},
        {"other getters", true,
         [](Pair& p) { return GiveText(p.other->Error()) * GiveText(p.other->Extract()); },
         &Always},
        {"other Release", true,
         [](Pair& p) {
             p.other->Release();
             return kText;
         },
         &Always},
        {"a new object", true,
         [](Pair& p) {
             p.other = std::make_unique<ScriptingObject>();
             return p.other->Init(kRunner, false, kSeconds);
         },
         &Always},
    };
}

// ---- the course of one case

class ReentryRun
{
  public:
    struct Answers
    {
        int inner = -1000;
        int outer = -1000;
        std::string wrong;
    };

    Answers Try(const Outer& outer, const Inner& inner)
    {
        Answers answers;
        const std::ptrdiff_t blocks = OwnMemory::Watched().blocks;
        {
            Pair pair = {std::make_unique<ScriptingObject>(), std::make_unique<ScriptingObject>()};
            Call(outer, inner, pair, answers);
        }
        m_counterpart.Oblige();
        const std::ptrdiff_t left = OwnMemory::Watched().blocks - blocks;
        if (answers.wrong.empty() && left != 0) {
            answers.wrong = std::to_string(left) + " blocks are left";
        }
        return answers;
    }

  private:
    void Call(const Outer& outer, const Inner& inner, Pair& pair, Answers& answers)
    {
        if (pair.other->Init(kRunner, false, kSeconds) != tvn::sOk ||
            (!outer.initialises && pair.same->Init(outer.line, true, kSeconds) != tvn::sOk)) {
            answers.wrong = "the init before it failed";
            return;
        }
        if (!outer.initialises) {
            pair.same->Play(L"before", kSeconds);
        }
        m_nested.Set([&] { answers.inner = inner.call(pair); });
        Hook(outer);
        answers.outer = CallOuter(outer, *pair.same);
        if (!m_nested.HasRun()) {
            answers.wrong = "the message was not dispatched during the wait";
        } else if (answers.inner != inner.answer(outer)) {
            answers.wrong = "the inner call has to answer " + std::to_string(inner.answer(outer));
        } else if (answers.outer != tvn::sOk) {
            answers.wrong = "the outer call has to answer 1";
        } else if (pair.same->Get() != nullptr) {
            answers.wrong = After(outer, inner, *pair.same);
        }
    }

    void Hook(const Outer& outer)
    {
        const auto nest = [this](Turn& turn) {
            m_nested.Run();
            return turn.link.Write(turn.answer);
        };
        if (outer.stage == Stage::Callback) {
            m_counterpart.Next(Stage::Start, [this](Turn& turn) {
                turn.link.Write(turn.answer);
                m_nested.Run();
                return true;
            });
            return;
        }
        if (outer.stage == Stage::Terminate) {
            m_counterpart.Next(Stage::WaitForExit, [](Turn&) { return false; });
        }
        m_counterpart.Next(outer.stage, nest);
    }

    static int CallOuter(const Outer& outer, ScriptingObject& object)
    {
        if (outer.initialises) {
            return object.Init(outer.line, outer.openNew, kSeconds);
        }
        switch (outer.stage) {
            case Stage::Play:
                return object.Play(L"outer", kSeconds);
            case Stage::Display:
                return object.Display(L"outer", kSeconds);
            default:
                return object.Exit(kSeconds);
        }
    }

    /// The object is attached or not as it should be, and works.
    static std::string After(const Outer& outer, const Inner& inner, ScriptingObject& object)
    {
        const std::string_view name = inner.ofOther ? "" : inner.name;
        const bool exits = outer.stage >= Stage::End;
        const bool attached =
            outer.initialises || name == "tvnExit, tvnInit" || (!exits && name != "tvnExit");
        const int play = object.Play(L"after", kSeconds);
        if (play != (attached ? tvn::sOk : tvn::sNotStarted)) {
            return "a play afterwards gives " + std::to_string(play);
        }
        object.Exit(kSeconds);
        const bool works = object.Init(kRunner, true, kSeconds) == tvn::sOk &&
                           object.Play(L"again", kSeconds) == tvn::sOk &&
                           object.Extract() == Counterpart::kPlayed &&
                           object.Exit(kSeconds) == tvn::sOk;
        return works ? "" : "the object does not work again";
    }

    Counterpart m_counterpart;
    NestedCall m_nested;
};

}  // namespace

void RunReentry(const Settings& settings, Journal& journal)
{
    ReentryRun run;
    OwnMemory::SetPagesOfTheirOwn(true);
    const std::vector<Inner> inners = Inners();
    Table table(1, {"called during"});
    for (const Inner& inner : inners) {
        table.push_back({inner.name});
    }
    constexpr std::size_t kOuterCount = std::size(kOuters);
    for (std::size_t number = 0; number < kOuterCount * inners.size(); ++number) {
        const Outer& outer = kOuters[number / inners.size()];
        const Inner& inner = inners[number % inners.size()];
        if (number % inners.size() == 0) {
            table.front().emplace_back(outer.name);
        }
        if (settings.onlyCase && *settings.onlyCase != number) {
            continue;
        }
        Journal::NoteCase("--case", number);
        journal.Progress(
            static_cast<double>(number) / static_cast<double>(kOuterCount * inners.size()),
            outer.name);
        const ReentryRun::Answers answers = run.Try(outer, inner);
        const std::string both =
            std::to_string(answers.inner) + " / " + std::to_string(answers.outer);
        table[number % inners.size() + 1].push_back(both);
        journal.Count(1, answers.wrong.empty() ? 1 : 0);
        if (!answers.wrong.empty()) {
            journal.Fault(std::string(inner.name) + " during " + outer.name + " (" + both +
                          "): " + answers.wrong);
        }
    }
    OwnMemory::SetPagesOfTheirOwn(false);
    journal.AddTable("Answers of a call from a window message, and of the call that waits", table);
}

}  // namespace soak
