// The scripting object with a browser that the test plays itself.
#pragma once

#include <optional>

#include "tests/app_client.h"
#include "tests/scripted_peer.h"

namespace tvn::tests
{

/// A request to the runner service without its length and its id, which is another one each time.
Bytes WithoutId(Bytes request);

/// Matches a request of this type with these fields, whatever its id.
template <class... Fields>
testing::Matcher<Bytes> Asks(int type, const Fields&... fields)
{
    return testing::ResultOf(&WithoutId, WithoutId(Message(type, 0, fields...)));
}

/// Matches a request to wait for the exit of the process with this key, `time` milliseconds.
testing::Matcher<Bytes> AsksForExit(const std::string& key,
                                    const testing::Matcher<long long>& time);

/// Attached to an instance that a runner service has named; the test plays the part of both. The
/// instance has been sent one command, "tvnAuxAttachIfFree", when `instance` begins.
struct AttachedApp
{
    explicit AttachedApp(const Script& instance, const Script& service = {});

    AppClient app;
    ScriptedPeer service;
    ScriptedPeer instance;
};

}  // namespace tvn::tests
