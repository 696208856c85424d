#include "tests/other_side.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tvn::tests
{

constexpr std::string_view kPipePrefix = R"(\\.\pipe\Talvern_)";

const std::map<std::uint32_t, Stage> kRequests = {{1, Stage::kStart},
                                                  {3, Stage::kTerminate},
                                                  {5, Stage::kWaitForExit},
                                                  {7, Stage::kList},
                                                  {9, Stage::kList}};

const std::map<std::wstring, Stage> kCommands = {{L"tvnAuxAttachIfFree", Stage::kAttach},
                                                 {L"PLAY", Stage::kPlay},
                                                 {L"appSendText", Stage::kDisplay},
                                                 {L"appEnd", Stage::kEnd}};

bool Hold(Turn& turn)
{
    turn.peer.Hold();
    return false;
}

OtherSide::OtherSide(Pipes pipes, std::size_t ends)
{
    if (pipes != Pipes::kRunnerOnly) {
        m_commands.emplace(std::string(kPipePrefix) + std::to_string(static_cast<int>(kWindow)),
                           ends, [this](BytePeer& peer) { ServeCommands(peer); });
    }
    m_runner.emplace(R"(\\.\pipe\tvnRunner)", ends, [this](BytePeer& peer) { ServeRunner(peer); });
}

void OtherSide::Next(Stage stage, Act act)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_next[stage] = std::move(act);
}

void OtherSide::Oblige()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_next.clear();
}

OtherSide::Act OtherSide::Expects(const Bytes& request, const Bytes& answer)
{
    return [=](Turn& turn) {
        EXPECT_EQ(turn.request, request);
        return turn.peer.Write(answer);
    };
}

bool OtherSide::Answer(Stage stage, Turn& turn)
{
    Act act;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto next = m_next.find(stage);
        if (next != m_next.end()) {
            act = std::move(next->second);
            m_next.erase(next);
        }
    }
    return act ? act(turn) : turn.answer.empty() || turn.peer.Write(turn.answer);
}

void OtherSide::ServeCommands(BytePeer& peer)
{
    Bytes message;
    for (bool goOn = true; goOn && peer.Read(message);) {
        Fields fields(message);
        Turn turn = {peer, fields.Number()};
        const Stage stage = kCommands.at(fields.Text());
        turn.argument = fields.Text();
        turn.answer = Message(turn.id, 1, stage == Stage::kPlay ? kPlayed : "");
        goOn = Answer(stage, turn);
    }
}

void OtherSide::ServeRunner(BytePeer& peer)
{
    Bytes message;
    Turn connected = {peer};
    if (!Answer(Stage::kRunner, connected) || !peer.Read(message)) {
        return;
    }
    Fields fields(message);
    const std::uint32_t type = fields.Number();
    const Stage stage = kRequests.at(type);
    Turn turn = {peer, fields.Number()};
    turn.answer = RunnerAnswer(type, turn.id);
    turn.request = message;
    std::fill_n(turn.request.begin() + 8, sizeof turn.id, '\0');
    if (!Answer(stage, turn)) {
        return;
    }
    if (stage == Stage::kStart) {
        fields.Text();  // the program
        CallBack(fields.Text(), peer);
    }
    peer.Drain();  // the client is the one that closes
}

Bytes OtherSide::RunnerAnswer(std::uint32_t type, std::uint32_t id)
{
    switch (type) {
        case 1:
            return Message(2, id, 1, 4711, "key");
        case 9:
            return Message(10, id, 1, 1, 4711, "key", kWindow);
        default:
            return Message(type + 1, id, 1);
    }
}

void OtherSide::CallBack(const std::wstring& commandLine, BytePeer& runner)
{
    constexpr std::wstring_view kSwitch = L"pipeUuid=";
    constexpr std::size_t kUuidLength = 36;
    const std::size_t at = commandLine.find(kSwitch);
    if (at == std::wstring::npos) {
        return;
    }
    const std::wstring uuid = commandLine.substr(at + kSwitch.size(), kUuidLength);
    const std::string name(uuid.begin(), uuid.end());
    BytePeer starter(BytePeer::Open(std::string(kPipePrefix) + name), runner.Stop());
    Turn turn = {starter};
    turn.answer = Message(kWindow);
    if (starter.IsValid() && Answer(Stage::kCallback, turn)) {
        runner.Drain();
    }
}

}  // namespace tvn::tests
