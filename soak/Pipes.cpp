// Broken replies, callbacks and answers of the runner over real pipes. After each of them the
// object has to end what it did, and to work again after an exit and an init.

#include <array>
#include <atomic>
#include <cstring>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/CaseCourse.h"
#include "soak/Counterpart.h"
#include "soak/MessageGenerator.h"
#include "soak/ProcessFigures.h"
#include "soak/ScriptingObject.h"
#include "soak/Stopwatch.h"

namespace soak
{
namespace
{

constexpr LONG kCommandTime = 1;
constexpr LONG kInitTime = 2;
constexpr LONG kExitTime = 3;
constexpr LONG kCountlessTime = 20;
constexpr double kMostOver = 250;
constexpr int kUnknown = 77777;

constexpr Stage kStages[] = {Stage::List, Stage::Start,   Stage::Callback,    Stage::Attach,
                             Stage::Play, Stage::Display, Stage::WaitForExit, Stage::Terminate};
constexpr std::size_t kStageCount = std::size(kStages);

/// What comes behind the broken message.
enum class Then : unsigned char { Close, Answer, Silence };

/// What one case sends in the place of an answer.
struct Hostility
{
    std::vector<Bytes> messages;
    Then then = Then::Close;
};

bool IsCommand(Stage stage)
{
    return stage == Stage::Attach || stage == Stage::Play || stage == Stage::Display;
}

const MessageShape& ShapeOf(Stage stage)
{
    switch (stage) {
        case Stage::List:
            return *ShapeNamed("GetInstancesByNameComplete");
        case Stage::Start:
            return *ShapeNamed("StartComplete");
        case Stage::Callback:
            return *ShapeNamed("callback");
        case Stage::WaitForExit:
            return *ShapeNamed("WaitForExitComplete");
        case Stage::Terminate:
            return *ShapeNamed("TerminateComplete");
        default:
            return *ShapeNamed("reply");
    }
}

int SignedAt(const Bytes& message, std::size_t at)
{
    return static_cast<int>(NumberAt(message.data() + at));
}

/// The type id of an answer of the runner that holds all its fields, or 0.
std::uint32_t WholeType(const Bytes& message)
{
    const std::uint32_t type = message.size() < 8 ? 0 : NumberAt(message.data() + 4);
    const MessageShape* const shape = ShapeOfType(type);
    return shape != nullptr && HoldsAllFields(*shape, message.data() + 8, message.size() - 8) ? type
                                                                                              : 0;
}

// ---- what has to come of it

/// The status that a command has to end with.
int StatusOfCommand(const Hostility& hostility, const Turn& turn, Stage stage)
{
    for (const Bytes& message : hostility.messages) {
        if (message.empty()) {
            return kUnknown;
        }
        if (message.size() < 4 ||
            !HoldsAllFields(*ShapeNamed("reply"), message.data() + 4, message.size() - 4)) {
            return tvn::sFail;
        }
        if (NumberAt(message.data() + 4) == turn.id) {
            const int status = SignedAt(message, 8);
            return status == 2 && stage == Stage::Play ? 1 : status;
        }
    }
    const int silent[] = {tvn::sFail, tvn::sOk, tvn::sTimeout};
    return silent[static_cast<std::size_t>(hostility.then)];
}

/// The same for the other stages, which look at one message only.
int StatusOfStage(const Hostility& hostility, const Turn& turn, Stage stage)
{
    if (IsCommand(stage)) {
        const int status = StatusOfCommand(hostility, turn, stage);
        return stage == Stage::Attach && status != kUnknown && status != tvn::sOk ? tvn::sFail
                                                                                  : status;
    }
    if (stage == Stage::List || stage == Stage::WaitForExit) {
        return tvn::sOk;  // a start, a termination takes their place
    }
    const bool sent = !hostility.messages.empty();
    const Bytes& first = sent ? hostility.messages.front() : turn.answer;
    if (first.empty()) {
        return kUnknown;
    }
    if (!sent && hostility.then != Then::Answer) {
        const int closed = stage == Stage::Start ? tvn::sRunnerNotReachable : tvn::sFail;
        const int silent = stage == Stage::Start ? tvn::sRunnerNotReachable : tvn::sTimeout;
        return hostility.then == Then::Close ? closed : silent;
    }
    if (stage == Stage::Callback) {
        return first.size() >= 8 && NumberAt(first.data() + 4) == Counterpart::Window()
                   ? tvn::sOk
                   : tvn::sFail;
    }
    const std::uint32_t type = WholeType(first);
    if (type == 0) {
        return stage == Stage::Start ? tvn::sRunnerNotReachable : tvn::sFail;
    }
    return type == ShapeOf(stage).type ? SignedAt(first, 12) : tvn::sFail;
}

// ---- what is sent

/// The cases that are sent as they are, before those that are made up: for each stage an empty
/// message, a bare length field, a close at every byte, an answer in two messages cut at every
/// byte, and stale or countless ones.
class FixedCases
{
  public:
    /// False when there is no such case for an answer like this one.
    static bool Make(std::size_t number, Stage stage, const Bytes& answer, Hostility& hostility)
    {
        constexpr Then kThen[] = {Then::Close, Then::Answer};
        if (number < 2) {
            hostility = {{Bytes()}, kThen[number]};
            return true;
        }
        number -= 2;
        if (number < 2 * kLengthCount) {
            Bytes bare;
            AppendNumber(bare, kLengths[number / 2]);
            hostility = {{bare}, kThen[number % 2]};
            return true;
        }
        number -= 2 * kLengthCount;
        if (number == 0) {
            hostility = Countless(stage, answer);
            return true;
        }
        const std::size_t size = answer.size() + 1;
        if (number <= size) {
            hostility = {{Cut(answer, 0, number - 1)}, Then::Close};
            if (number == 1) {
                hostility.messages.clear();
            }
            return true;
        }
        number -= size;
        if (number < answer.size()) {
            hostility = {{Cut(answer, 0, number), Cut(answer, number, answer.size())},
                         Then::Answer};
            return true;
        }
        return false;
    }

    /// Whether the case needs more time than others even when all is well.
    static bool IsCountless(std::size_t number) { return number == 2 + 2 * kLengthCount; }

  private:
    static constexpr std::uint32_t kLengths[] = {0, 3, 4, 5, 0x7FFFFFFF, 0xFFFFFFFF};
    static constexpr std::size_t kLengthCount = std::size(kLengths);

    /// 10,000 stale replies before the right one, 100,000 instances that nobody serves.
    static Hostility Countless(Stage stage, const Bytes& answer)
    {
        if (IsCommand(stage)) {
            Bytes stale = answer;
            stale[4] = static_cast<unsigned char>(stale[4] + 1);
            return {std::vector<Bytes>(10'000, stale), Then::Answer};
        }
        if (stage == Stage::List) {
            return {{InstancesWithoutPipes(100'000)}, Then::Close};
        }
        return {{}, Then::Answer};
    }

    static Bytes Cut(const Bytes& bytes, std::size_t from, std::size_t to)
    {
        return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
                bytes.begin() + static_cast<std::ptrdiff_t>(to)};
    }

    static Bytes InstancesWithoutPipes(std::uint32_t count)
    {
        Bytes fields;
        for (const std::uint32_t number : {10U, 1U, 1U, count}) {
            AppendNumber(fields, number);
        }
        for (std::uint32_t index = 0; index < count; ++index) {
            AppendNumber(fields, index);
            AppendText(fields, L"");
            AppendNumber(fields, index + 1);
        }
        return WithLength(fields);
    }
};

/// A made-up case. A foreign window that looks sound is waited for: that is rarely sent.
Hostility MakeUp(Random& random, Stage stage, const Turn& turn)
{
    MessageGenerator generator(random);
    Hostility hostility;
    const std::size_t then = random.Below(500);
    hostility.then = then == 0 ? Then::Silence : then < 250 ? Then::Close : Then::Answer;
    const bool mayWait = random.OneIn(200);
    for (std::size_t count = random.Below(20) == 0 ? 0 : 1 + random.Below(2); count > 0; --count) {
        Bytes fields;
        generator.WriteBroken(ShapeOf(stage), turn.id, fields);
        if (stage == Stage::Callback && !mayWait && fields.size() >= 4) {
            const std::uint32_t window = Counterpart::Window();
            std::memcpy(fields.data(), &window, sizeof window);
        }
        Bytes message = WithLength(fields);
        const bool listed = stage == Stage::List && WholeType(message) == 10;
        if (listed && !mayWait) {
            message[12] = 7;  // not the result with which a list is believed
        }
        const std::uint32_t length = generator.BrokenLength(message.size());
        std::memcpy(message.data(), &length, sizeof length);
        hostility.messages.push_back(message);
    }
    return hostility;
}

// ---- the course of one case

class PipeRun
{
  public:
    PipeRun(const Settings& settings, Journal& journal) : m_settings(settings), m_journal(journal)
    {}

    /// True when the object has done what it should.
    bool Try(std::uint64_t number)
    {
        const std::size_t index = number % kStageCount;
        const Stage stage = kStages[index];
        std::string wrong;
        double over = 0;
        // The machine has other things to do: what is late three times is late.
        for (int tries = 0; tries < 3; ++tries) {
            wrong = Once(number, stage, over);
            if (!wrong.empty() || over <= kMostOver) {
                break;
            }
        }
        if (wrong.empty() && over > kMostOver) {
            wrong = "returned " + std::to_string(static_cast<int>(over)) + " ms after its time";
        }
        m_worstOver[index] = std::max(m_worstOver[index], over);
        ++m_tried[index];
        if (!wrong.empty()) {
            m_journal.Fault(std::string("a broken message in the place of ") + NameOf(stage) +
                            ": " + wrong);
        }
        return wrong.empty();
    }

    static bool IsCountless(std::uint64_t number)
    {
        return FixedCases::IsCountless(number / kStageCount);
    }

    Table Rows() const
    {
        Table table = {{"in the place of the answer to", "cases", "predicted and met",
                        "latest return after the time-out"}};
        for (std::size_t index = 0; index < kStageCount; ++index) {
            table.push_back({NameOf(kStages[index]), std::to_string(m_tried[index]),
                             std::to_string(m_predicted[index]),
                             std::to_string(static_cast<int>(m_worstOver[index])) + " ms"});
        }
        return table;
    }

    /// The object attached and playing; what is wrong if it does not.
    std::string Works()
    {
        m_counterpart.Oblige();
        m_object.Exit(kExitTime);
        const int init = m_object.Init("-runner", false, kInitTime);
        if (init != tvn::sOk) {
            return "the next init gave " + std::to_string(init);
        }
        const int play = m_object.Play(L"again", kCommandTime);
        if (play != tvn::sOk || m_object.Extract() != Counterpart::kPlayed) {
            return "the next play gave " + std::to_string(play);
        }
        return {};
    }

  private:
    std::string Once(std::uint64_t number, Stage stage, double& over)
    {
        m_expected = kUnknown;
        m_counterpart.Next(stage, [=, this](Turn& turn) { return Send(number, stage, turn); });
        if (stage == Stage::Terminate) {
            m_counterpart.Next(Stage::WaitForExit, [](Turn&) { return false; });
        }
        const Stopwatch watch;
        const int status = Call(stage, TimeOf(stage, number));
        over = watch.Milliseconds() - 1000 * TimeOf(stage, number);
        const int expected = m_expected;
        if (status == ScriptingObject::kNotOk) {
            return "the method did not return S_OK";
        }
        if (expected != kUnknown && status != expected) {
            return "the status is " + std::to_string(status) + ", not " + std::to_string(expected);
        }
        if (stage == Stage::Play && status == tvn::sTimeout && !m_object.Extract().empty()) {
            return "a play that timed out has texts";
        }
        m_predicted[number % kStageCount] += expected != kUnknown ? 1 : 0;
        return Works();
    }

    bool Send(std::uint64_t number, Stage stage, Turn& turn)
    {
        Hostility hostility;
        if (!FixedCases::Make(number / kStageCount, stage, turn.answer, hostility)) {
            Random random(m_settings.seed, number);
            hostility = MakeUp(random, stage, turn);
        }
        m_expected = StatusOfStage(hostility, turn, stage);
        for (const Bytes& message : hostility.messages) {
            if (!turn.link.Write(message)) {
                return false;
            }
        }
        if (hostility.then == Then::Answer) {
            turn.link.Write(turn.answer);
        }
        // A runner that has started a browser goes on, whatever it said about it.
        return hostility.then != Then::Close || stage == Stage::Start;
    }

    static LONG TimeOf(Stage stage, std::uint64_t number)
    {
        if (stage == Stage::WaitForExit || stage == Stage::Terminate) {
            return kExitTime;
        }
        if (IsCountless(number) && IsCommand(stage)) {
            return kCountlessTime;
        }
        return stage == Stage::Play || stage == Stage::Display ? kCommandTime : kInitTime;
    }

    int Call(Stage stage, LONG seconds)
    {
        switch (stage) {
            case Stage::Play:
                return m_object.Play(L"macro", seconds);
            case Stage::Display:
                return m_object.Display(L"text", seconds);
            case Stage::WaitForExit:
            case Stage::Terminate:
                return m_object.Exit(seconds);
            default:
                m_object.Exit(kExitTime);
                return m_object.Init("-runner", stage != Stage::List, seconds);
        }
    }

    const Settings& m_settings;
    Journal& m_journal;
    Counterpart m_counterpart;
    ScriptingObject m_object;
    std::atomic<int> m_expected{kUnknown};
    std::array<std::uint64_t, kStageCount> m_tried = {};
    std::array<std::uint64_t, kStageCount> m_predicted = {};
    std::array<double, kStageCount> m_worstOver = {};
};

}  // namespace

void RunPipes(const Settings& settings, Journal& journal)
{
    constexpr std::uint64_t kWarmUp = 400;
    PipeRun run(settings, journal);
    run.Works();
    std::uint64_t survived = 0;
    std::ptrdiff_t handles = CountHandles();
    std::ptrdiff_t kibibytes = PrivateKibibytes();
    CaseCourse course(settings, journal, 24'000, 480);
    const std::uint64_t first = course.Number();
    for (; course.Goes(); course.Next()) {
        // The short form takes some of each kind, in steps that come to every stage.
        constexpr std::uint64_t kShortStep = 37;
        const std::uint64_t number = course.Number() * (settings.shortForm ? kShortStep : 1);
        Journal::NoteCase("--case", number);
        const bool skipped = settings.shortForm && PipeRun::IsCountless(number);
        survived += skipped || run.Try(number) ? 1U : 0U;
        if (course.Number() == kWarmUp) {
            handles = CountHandles();
            kibibytes = PrivateKibibytes();
        }
    }
    run.Works();
    journal.Count(course.Number() - first, survived);
    journal.Leaked(CountHandles() - handles, PrivateKibibytes() - kibibytes);
    journal.AddTable("Broken messages over real pipes", run.Rows());
}

}  // namespace soak
