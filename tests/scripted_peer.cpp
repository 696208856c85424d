#include "tests/scripted_peer.h"

#include <utility>

#include "tests/moments.h"

namespace tvn::tests
{

static constexpr DWORD kPatience = 5000;

ScriptedPeer::ScriptedPeer(const std::string& name, Script script, DWORD bufferSize)
    : m_name(name),
      m_done(NewEvent()),
      m_stop(NewEvent()),
      m_end(std::in_place, name, m_stop->Get(), bufferSize)
{
    EXPECT_TRUE(m_end->IsValid()) << name;
    if (!script.empty()) {
        Perform(std::move(script));
    }
}

ScriptedPeer::ScriptedPeer(const boost::shared_ptr<Handle>& client)
    : m_done(NewEvent()),
      m_stop(NewEvent()),
      m_end(std::in_place, client, m_stop->Get()),
      m_connected(true)
{}

ScriptedPeer::~ScriptedPeer()
{
    Join();
}

boost::shared_ptr<Handle> ScriptedPeer::Client() const
{
    return BytePeer::Open(m_name);
}

void ScriptedPeer::Perform(Script script)
{
    Join();
    ResetEvent(m_done->Get());
    ResetEvent(m_stop->Get());
    m_thread = std::thread([this, steps = std::move(script)] {
        for (const Step& step : steps) {
            Run(step, "step " + std::to_string(&step - steps.data() + 1) + " of the script");
        }
        SetEvent(m_done->Get());
    });
}

void ScriptedPeer::Join()
{
    if (m_thread.joinable()) {
        WaitForSingleObject(m_done->Get(), kPatience);
        SetEvent(m_stop->Get());
        m_thread.join();
    }
}

void ScriptedPeer::Run(const Step& step, const std::string& name)
{
    Bytes message;
    bool there = m_connected || NextClient();
    while (there && step.expected && !m_end->Read(message)) {
        there = NextClient();
    }
    if (!there) {
        ADD_FAILURE() << name << ": no client has come this far";
        return;
    }
    if (step.expected) {
        EXPECT_THAT(message, *step.expected) << name;
    }
    WaitForSingleObject(m_stop->Get(), step.delay);
    for (const Bytes& reply : step.replies) {
        m_end->Write(reply, step.patience);  // a client that has gone does not want it
    }
    if (step.closes) {
        m_end = std::exchange(m_spare, {});
        m_connected = false;
    }
}

bool ScriptedPeer::NextClient()
{
    if (m_connected) {
        m_end = std::exchange(m_spare, {});
    }
    m_connected = m_end && m_end->Connect();
    if (m_connected) {
        m_spare.emplace(m_name, m_stop->Get());
    }
    return m_connected;
}

void ScriptedPeer::Send(const Bytes& bytes)
{
    EXPECT_TRUE(m_end->Write(bytes, kPatience)) << GetLastError();
}

Bytes ScriptedPeer::Receive()
{
    Bytes message;
    EXPECT_TRUE(m_end->Read(message, kPatience)) << GetLastError();
    return message;
}

}  // namespace tvn::tests
