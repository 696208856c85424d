#include "tests/scripted_peer.h"

#include <utility>

namespace tvn::tests
{

static constexpr DWORD kPatience = 5000;

ScriptedPeer::ScriptedPeer(const std::string& name, DWORD bufferSize)
    : BytePeer(name, nullptr, bufferSize), m_name(name)
{
    EXPECT_TRUE(IsValid()) << name;
}

void ScriptedPeer::Perform(Script script)
{
    m_thread = {};
    m_thread = std::jthread([this, steps = std::move(script)] {
        ASSERT_TRUE(Connect(kPatience)) << "no client has come";
        for (const Step& step : steps) {
            const auto number = &step - steps.data() + 1;
            Bytes message;
            ASSERT_TRUE(!step.expected || Read(message, step.patience)) << "at step " << number;
            EXPECT_EQ(message, step.expected.value_or(Bytes())) << "at step " << number;
            Sleep(step.delay);
            for (const Bytes& reply : step.replies) {
                Write(reply, step.patience);  // a client that has gone does not want it
            }
        }
    });
}

void ScriptedPeer::Send(const Bytes& bytes)
{
    EXPECT_TRUE(Write(bytes, kPatience)) << GetLastError();
}

Bytes ScriptedPeer::Receive()
{
    Bytes message;
    EXPECT_TRUE(Read(message, kPatience)) << GetLastError();
    return message;
}

}  // namespace tvn::tests
