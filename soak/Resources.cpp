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

/// How long a way is, with all its failures: some belong to the short form, some start processes.
enum class Takes : unsigned char { Seconds, Minutes, Processes };

/// One way through a method.
struct Way
{
    const char* name;
    Before before;
    std::function<int(ScriptingObject& object)> call;
    Takes takes;
    const char* browser = nullptr;  ///< a free one that runs before the call
};

std::vector<Way> Ways()
{
    using Object = ScriptingObject;
    const auto init = [](const char* line, bool openNew) {
        return [=](Object& object) {
            return object.Init(line, openNew, 3);
        };
    };
    const auto play = [](Object& object) {
        return object.Play(L"a macro", 1);
    };
    const auto playLong = [](Object& object) {
        return object.Play(std::wstring(100'000, L'x'), 1);
    };
    const auto display = [](Object& object) {
        return object.Display(L"text", 1);
    };
    const auto exit = [](Object& object) {
        return object.Exit(3);
    };
    const auto set = [](Object& object) {
        return object.Set(L"city", L"New York");
    };
    const auto error = [](Object& object) {
        return object.Error() == L"<none>" ? 0 : kDone;
    };
    const auto extract = [](Object& object) {
        return object.Extract(1) == L"<none>" ? 0 : kDone;
    };
    const auto version = [](Object& object) {
        return object.Version() == 6300216 ? kDone : 0;
    };
    const char* const firefox = "-fx -fxVersion 3.6.8 -fxLocale en-US";
    using enum Takes;
    using enum Before;
    return {
        {"tvnInit, own browser", Fresh, init("", true), Processes},
        {"tvnInit, free own browser", Fresh, init("", false), Processes, "talvern"},
        {"tvnInit, Firefox", Fresh, init(firefox, true), Processes},
        {"tvnInit, Internet Explorer", Fresh, init("-ie", true), Processes},
        {"tvnInit, runner", Fresh, init("-runner", true), Minutes},
        {"tvnInit, free browser of the runner", Fresh, init("-runner", false), Minutes},
        {"tvnPlay", RunnerAttached, play, Seconds},
        {"tvnPlay, long macro", RunnerAttached, playLong, Minutes},
        {"tvnDisplay", RunnerAttached, display, Minutes},
        {"tvnExit, own browser", OwnAttached, exit, Processes},
        {"tvnExit, Firefox", FirefoxAttached, exit, Processes},
        {"tvnExit, runner", RunnerAttached, exit, Minutes},
        {"tvnSet", Fresh, set, Seconds},
        {"tvnGetLastError", RunnerAttached, error, Seconds},
        {"tvnGetLastExtract", RunnerAttached, extract, Seconds},
        {"tvnGetInterfaceVersion", Fresh, version, Seconds},
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

    /// Goes the way without a failure, to learn what it leaves behind by itself: the system opens
    /// what it keeps open for ever, and forgets to close something at each call. Gives the number
    /// of handles that each call leaves.
    std::ptrdiff_t Learn(const Way& way)
    {
        Tally tally;
        m_usual = 0;
        Try(way, 0, tally, false, false);
        m_handles = SettledHandles();
        Try(way, 0, tally, false, false);
        const std::ptrdiff_t handles = SettledHandles();
        m_usual = handles - m_handles;
        m_handles = handles;
        return m_usual;
    }

    /// Goes the way with its `number`th call failing; false when it has fewer.
    bool Try(const Way& way, std::size_t number, Tally& tally, bool again = false,
             bool judgesHandles = true)
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
        if (way.takes == Takes::Processes) {
            EndBrowsers();
        }
        const std::ptrdiff_t left = OwnMemory::Watched().blocks - blocks;
        if (wrong.empty() && left != 0) {
            wrong = std::to_string(left) + " blocks are left";
        }
        if (judgesHandles && wrong.empty() && !HandlesAreBack()) {
            const std::ptrdiff_t handles = SettledHandles();
            const std::ptrdiff_t more = handles - m_handles;
            m_handles = handles;
            // What the system opens once, for the first failure of a kind, is not opened again.
            if (!again) {
                return Try(way, number, tally, true);
            }
            wrong = std::to_string(more) + " handles are left";
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
        if (way.takes == Takes::Processes) {
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
        for (int looks = 0; looks < 5; ++looks, Sleep(10)) {
            most = std::max(most, CountHandles());
        }
        return most;
    }

    bool HandlesAreBack()
    {
        for (int tries = 0; tries < 100; ++tries, Sleep(10)) {
            // (The init afterwards takes the same way once more.)
            if (CountHandles() <= m_handles + 2 * m_usual) {
                m_handles += m_usual == 0 ? 0 : CountHandles() - m_handles;
                return true;
            }
        }
        return false;
    }

    Journal& m_journal;
    Counterpart m_counterpart;
    std::ptrdiff_t m_handles = 0;
    std::ptrdiff_t m_usual = 0;  ///< handles that each call leaves without a failure
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
                    "`sFail` and a text", "a code alone", "handles left without a failure"}};
    const std::vector<Way> ways = Ways();
    for (std::size_t index = 0; index < ways.size(); ++index) {
        const Way& way = ways[index];
        if ((settings.shortForm && way.takes != Takes::Seconds) ||
            (settings.onlyCase && *settings.onlyCase / kWaySize != index)) {
            continue;
        }
        Tally tally;
        const std::ptrdiff_t usual = run.Learn(way);
        journal.Leaked(usual, 0);
        std::size_t number = settings.onlyCase ? *settings.onlyCase % kWaySize : 1;
        for (bool struck = true; struck && number < kMostCalls; ++number) {
            Journal::NoteCase("--case", index * kWaySize + number);
            journal.Progress(static_cast<double>(index) / static_cast<double>(ways.size()),
                             std::string(way.name) + ", call " + std::to_string(number));
            struck = run.Try(way, number, tally) && !settings.onlyCase;
        }
        table.push_back({way.name, std::to_string(tally.memory), std::to_string(tally.calls),
                         std::to_string(tally.wentOn), std::to_string(tally.withText),
                         CodesOf(tally), std::to_string(usual)});
    }
    journal.AddTable("Failures injected one after the other into " +
                         std::to_string(ReplacedImports::CountThatFail()) +
                         " system calls and all allocations",
                     table);
}

}  // namespace soak
