#include "soak/Counterpart.h"

#include <algorithm>

namespace soak
{
namespace
{

constexpr const char* kRunnerPipe = "\\\\.\\pipe\\tvnRunner";
constexpr std::uint32_t kWindow = 0x7A110001;

std::string CommandPipe()
{
    return "\\\\.\\pipe\\Talvern_" + std::to_string(static_cast<std::int32_t>(kWindow));
}

/// Takes the fields of a sound message in their order.
class MessageReader
{
  public:
    explicit MessageReader(const Bytes& message) : m_message(message) {}

    std::uint32_t Number()
    {
        if (m_at + 4 > m_message.size()) {
            return 0;
        }
        m_at += 4;
        return NumberAt(m_message.data() + m_at - 4);
    }

    std::wstring Text()
    {
        const std::size_t bytes = Number();
        if (bytes > m_message.size() - m_at) {
            return {};
        }
        std::wstring text(bytes / sizeof(wchar_t), L'\0');
        std::copy_n(m_message.data() + m_at, text.size() * sizeof(wchar_t),
                    reinterpret_cast<unsigned char*>(text.data()));
        m_at += bytes;
        return text;
    }

  private:
    const Bytes& m_message;
    std::size_t m_at = 4;
};

Stage StageOfRequest(std::uint32_t type)
{
    switch (type) {
        case 1:
            return Stage::Start;
        case 3:
            return Stage::Terminate;
        case 5:
            return Stage::WaitForExit;
        default:
            return Stage::List;
    }
}

Stage StageOfCommand(const std::wstring& command)
{
    if (command == L"PLAY") {
        return Stage::Play;
    }
    if (command == L"appSendText") {
        return Stage::Display;
    }
    return command == L"appEnd" ? Stage::End : Stage::Attach;
}

}  // namespace

const char* NameOf(Stage stage)
{
    static constexpr const char* kNames[] = {"the list",   "the start", "the callback",
                                             "the attach", "a play",    "a display",
                                             "the end",    "the wait",  "the termination"};
    return kNames[static_cast<std::size_t>(stage)];
}

Counterpart::Counterpart(Serves serves, std::size_t ends) : m_serves(serves)
{
    if (serves != Serves::RunnerOnly) {
        m_commands = std::make_unique<PipeHost>(CommandPipe(), ends,
                                                [this](PipeLink& link) { ServeCommands(link); });
    }
    if (serves != Serves::CommandsOnly) {
        m_runner = std::make_unique<PipeHost>(kRunnerPipe, ends,
                                              [this](PipeLink& link) { ServeRunner(link); });
    }
}

void Counterpart::Next(Stage stage, Act act)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_next[stage] = std::move(act);
}

void Counterpart::Oblige()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_next.clear();
}

void Counterpart::ListInstance(bool listed)
{
    m_listed = listed;
}

std::uint32_t Counterpart::Window()
{
    return kWindow;
}

bool Counterpart::Answer(Stage stage, Turn& turn)
{
    Act act;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_next.find(stage);
        if (found != m_next.end()) {
            act = std::move(found->second);
            m_next.erase(found);
        }
    }
    return act ? act(turn) : turn.link.Write(turn.answer);
}

void Counterpart::ServeCommands(PipeLink& link)
{
    Bytes message;
    for (bool goOn = true; goOn && link.Read(message);) {
        MessageReader reader(message);
        const std::uint32_t id = reader.Number();
        const Stage stage = StageOfCommand(reader.Text());
        Turn turn = {link, id, reader.Text(), {}};
        turn.answer = ReplyMessage(id, 1, stage == Stage::Play ? kPlayed : L"");
        goOn = Answer(stage, turn);
    }
}

void Counterpart::ServeRunner(PipeLink& link)
{
    Bytes message;
    if (m_serves == Serves::DeafRunner || m_serves == Serves::RunnerReadsPart) {
        if (m_serves == Serves::RunnerReadsPart) {
            link.ReadPart(4);
        }
        link.Hang();
        return;
    }
    if (!link.Read(message)) {
        return;
    }
    MessageReader reader(message);
    const std::uint32_t type = reader.Number();
    const std::uint32_t id = reader.Number();
    const Stage stage = StageOfRequest(type);
    Turn turn = {link, id, {}, RunnerAnswer(type, id)};
    std::wstring commandLine;
    if (stage == Stage::Start) {
        reader.Text();
        commandLine = reader.Text();
    }
    const bool goOn = Answer(stage, turn);
    if (goOn && stage == Stage::Start) {
        CallBack(commandLine, link);
    }
    if (goOn) {
        link.AwaitClose();  // the client is the one that closes
    }
}

Bytes Counterpart::RunnerAnswer(std::uint32_t type, std::uint32_t id) const
{
    Bytes fields;
    AppendNumber(fields, type + 1);
    AppendNumber(fields, id);
    AppendNumber(fields, 1);
    if (type == 1) {
        AppendNumber(fields, 4711);
        AppendText(fields, L"key");
    } else if (type == 9 && m_listed) {
        AppendNumber(fields, 1);
        AppendNumber(fields, 4711);
        AppendText(fields, L"key");
        AppendNumber(fields, kWindow);
    } else if (type == 9 || type == 7) {
        AppendNumber(fields, 0);
    }
    return WithLength(fields);
}

void Counterpart::CallBack(const std::wstring& commandLine, PipeLink& runner)
{
    constexpr std::wstring_view kSwitch = L"pipeUuid=";
    constexpr std::size_t kUuidLength = 36;
    const std::size_t at = commandLine.find(kSwitch);
    if (at == std::wstring::npos) {
        return;
    }
    const std::wstring uuid = commandLine.substr(at + kSwitch.size(), kUuidLength);
    Bytes fields;
    AppendNumber(fields, kWindow);
    const auto pipe =
        OpenClientEnd("\\\\.\\pipe\\Talvern_" + std::string(uuid.begin(), uuid.end()), 0);
    if (pipe->IsValid()) {
        PipeLink link(pipe->Get(), runner.Stop());
        Turn turn = {link, 0, {}, WithLength(fields)};
        if (Answer(Stage::Callback, turn)) {
            runner.AwaitClose();
        }
    }
}

}  // namespace soak
