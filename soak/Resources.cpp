// Every allocation and every system call on each method's way fails, one after the other.

#include <algorithm>
#include <functional>
#include <map>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/Counterpart.h"
#include "soak/FailurePoint.h"
#include "soak/OwnMemory.h"
#include "soak/ProcessFigures.h"
#include "soak/ReplacedImports.h"
#include "soak/ScriptingObject.h"
#include "soak/StandinBrowsers.h"

namespace soak
{
namespace
{

constexpr std::size_t kMostCalls = 2000;  ///< no way is that long
constexpr int kDone = 1;

/// How the object is brought to where the method begins.
enum class Before : unsigned char { Fresh, RunnerAttached, OwnAttached, FirefoxAttached };

/// One way through a method.
struct Way
{
    const char* name;
    Before before;
    std::function<int(ScriptingObject& object)> call;
    const char* browser = nullptr;  ///< a free one that runs before the call
    bool usesBrowsers = false;      ///< of their own processes
};

std::vector<Way> Ways()
{
    using Object = ScriptingObject;
    const auto init = [](const char* line, bool openNew) {
        return [=](Object& object) {
            return object.Init(line, openNew, 4);
        };
    };
    const auto play = [](Object& object) {
        return object.Play(L"a macro", 1);
    };
    const auto playLong = [](Object& object) {
        return object.Play(std::wstring(100'000, L'x'), 1);
    };
    const auto exit = [](Object& object) {
        return object.Exit(3);
    };
    return {
        {"tvnInit, own browser", Before::Fresh, init("", true), nullptr, true},
        {"tvnInit, free own browser", Before::Fresh, init("", false), "talvern", true},
        {"tvnInit, Firefox", Before::Fresh, init("-fx -fxVersion 3.6.8 -fxLocale en-US", true),
         nullptr, true},
        {"tvnInit, Internet Explorer", Before::Fresh, init("-ie", true), nullptr, true},
        {"tvnInit, runner", Before::Fresh, init("-runner", true)},
        {"tvnInit, free browser of the runner", Before::Fresh, init("-runner", false)},
        {"tvnPlay", Before::RunnerAttached, play},
        {"tvnPlay, long macro", Before::RunnerAttached, playLong},
        {"tvnDisplay", Before::RunnerAttached,
         [](Object& object) {
             return object.Display(L"text", 1);
         }},
        {"tvnExit, own browser", Before::OwnAttached, exit, nullptr, true},
        {"tvnExit, Firefox", Before::FirefoxAttached, exit, nullptr, true},
        {"tvnExit, runner", Before::RunnerAttached, exit},
        {"tvnSet", Before::Fresh,
         [](Object& object) {
             return object.Set(L"city", L"New York");
         }},
        {"tvnGetLastError", Before::RunnerAttached,
         [](Object& object) {
             return object.Error() == L"<none>" ? 0 : kDone;
         }},
        {"tvnGetLastExtract", Before::RunnerAttached,
         [](Object& object) {
             return object.Extract(1) == L"<none>" ? 0 : kDone;
         }},
        {"tvnGetInterfaceVersion", Before::Fresh,
         [](Object& object) {
             return object.Version() == 6300216 ? kDone : 0;
         }},
    };
}

/// What came of the failures on one way.
struct Tally
{
    std::size_t memory = 0;
    std::size_t calls = 0;
    std::size_t wentOn = 0;
    std::size_t withText = 0;
    std::map<int, std::size_t> codes;  ///< without a text
};

class ResourceRun
{
  public:
    explicit ResourceRun(Journal& journal) : m_journal(journal) {}

    /// Goes the way with its `number`th call failing; false when it has fewer. With 0 nothing
    /// fails: the system opens what it keeps open for ever.
    bool Try(const Way& way, std::size_t number, Tally& tally)
    {
        const std::ptrdiff_t blocks = OwnMemory::Watched().blocks;
        std::string wrong;
        const char* struck = nullptr;
        {
            ScriptingObject object;
            wrong = Prepare(object, way);
            if (wrong.empty()) {
                FailurePoint::Arm(number);
                const int status = way.call(object);
                struck = FailurePoint::Struck();
                const bool memory = FailurePoint::StruckMemory();
                FailurePoint::Arm(0);
                wrong = Judge(object, status, struck, memory, tally);
            }
            if (wrong.empty()) {
                wrong = Works(object, way);
            }
        }
        if (way.usesBrowsers) {
            EndBrowsers();
        }
        const std::ptrdiff_t left = OwnMemory::Watched().blocks - blocks;
        if (wrong.empty() && left != 0) {
            wrong = std::to_string(left) + " blocks are left";
        }
        if (number == 0) {
            m_handles = SettledHandles();
        } else if (wrong.empty() && !HandlesAreBack()) {
            const std::ptrdiff_t handles = SettledHandles();
            wrong = std::to_string(handles - m_handles) + " handles are left";
            m_handles = handles;
        }
        m_journal.Count(1, wrong.empty() ? 1 : 0);
        if (!wrong.empty()) {
            m_journal.Fault(std::string(way.name) + ", call " + std::to_string(number) + " (" +
                            (struck == nullptr ? "none" : struck) + ") fails: " + wrong);
        }
        return struck != nullptr;
    }

  private:
    static std::string Prepare(ScriptingObject& object, const Way& way)
    {
        if (way.browser != nullptr) {
            StartFreeBrowser(way.browser);
        }
        int status = tvn::sOk;
        if (way.before == Before::RunnerAttached) {
            status = object.Init("-runner", false, 10);
            object.Set(L"city", L"New York");
            object.Play(L"before", 10);
            object.Set(L"city", L"New York");
        } else if (way.before != Before::Fresh) {
            status = object.Init(way.before == Before::OwnAttached ? "" : "-fx", true, 10);
        }
        return status == tvn::sOk ? "" : "the init before it gave " + std::to_string(status);
    }

    static std::string Judge(ScriptingObject& object, int status, const char* struck, bool memory,
                             Tally& tally)
    {
        if (status == ScriptingObject::kNotOk) {
            return "the method did not return S_OK";
        }
        if (struck == nullptr) {
            return status == kDone ? ""
                                   : "nothing failed and the status is " + std::to_string(status);
        }
        ++(memory ? tally.memory : tally.calls);
        if (status == kDone) {
            ++tally.wentOn;
            return {};
        }
        if (status > 0) {
            return "the status is " + std::to_string(status);
        }
        if (!object.Error().empty()) {
            ++tally.withText;
            return {};
        }
        ++tally.codes[status];
        return memory && status != 0 ? "no text tells that memory was short" : "";
    }

    /// After the failure, everything works with the same object.
    static std::string Works(ScriptingObject& object, const Way& way)
    {
        object.Exit(3);
        if (way.usesBrowsers) {
            EndBrowsers();
        }
        const int init = object.Init("-runner", true, 10);
        if (init != tvn::sOk) {
            return "the next init gave " + std::to_string(init);
        }
        const int play = object.Play(L"again", 10);
        if (play != tvn::sOk || object.Extract() != Counterpart::kPlayed) {
            return "the next play gave " + std::to_string(play);
        }
        const int exit = object.Exit(3);
        return exit == tvn::sOk ? "" : "the next exit gave " + std::to_string(exit);
    }

    /// The handles when nobody opens or closes any: the other side takes a moment.
    static std::ptrdiff_t SettledHandles()
    {
        std::ptrdiff_t most = 0;
        for (int looks = 0; looks < 10; ++looks, Sleep(20)) {
            most = std::max(most, CountHandles());
        }
        return most;
    }

    bool HandlesAreBack() const
    {
        for (int tries = 0; tries < 100; ++tries, Sleep(10)) {
            if (CountHandles() <= m_handles) {
                return true;
            }
        }
        return false;
    }

    Journal& m_journal;
    Counterpart m_counterpart;
    std::ptrdiff_t m_handles = 0;
};

std::string CodesOf(const Tally& tally)
{
    std::string text;
    for (const auto& [code, count] : tally.codes) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " × " +
                (code == 0 ? "no value" : std::to_string(code));
    }
    return text.empty() ? "0" : text;
}

}  // namespace

void RunResources(const Settings& settings, Journal& journal)
{
    constexpr std::uint64_t kWaySize = 10'000;

    for (const std::string& unknown : ReplacedImports::Unknown()) {
        journal.Fault("the product calls " + unknown + ", and nothing here knows how it fails");
    }
    EndBrowsers();
    ResourceRun run(journal);
    Table table = {{"method", "allocations failed", "system calls failed", "succeeded all the same",
                    "`sFail` and a text", "a code alone"}};
    const std::vector<Way> ways = Ways();
    for (std::size_t index = 0; index < ways.size(); ++index) {
        const Way& way = ways[index];
        if ((settings.shortForm && way.usesBrowsers) ||
            (settings.onlyCase && *settings.onlyCase / kWaySize != index)) {
            continue;
        }
        Tally tally;
        run.Try(way, 0, tally);
        std::size_t number = settings.onlyCase ? *settings.onlyCase % kWaySize : 1;
        for (bool struck = true; struck && number < kMostCalls; ++number) {
            Journal::NoteCase("--case", index * kWaySize + number);
            journal.Progress(static_cast<double>(index) / static_cast<double>(ways.size()),
                             std::string(way.name) + ", call " + std::to_string(number));
            struck = run.Try(way, number, tally) && !settings.onlyCase;
        }
        table.push_back({way.name, std::to_string(tally.memory), std::to_string(tally.calls),
                         std::to_string(tally.wentOn), std::to_string(tally.withText),
                         CodesOf(tally)});
    }
    journal.AddTable("Failures injected one after the other into " +
                         std::to_string(ReplacedImports::CountThatFail()) +
                         " system calls and all allocations",
                     table);
}

}  // namespace soak
