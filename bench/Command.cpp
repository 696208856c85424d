// What a command costs over an encoder for this one message, and over bare system calls.

#include <catch2/catch.hpp>
#include <cstring>
#include <thread>
#include <vector>

#include "basicslib/StatusCode.h"
#include "pipeutils/CommandClient.h"
#include "pipeutils/Serializer.h"
#include "pipeutils/SimplePipeServer.h"

namespace
{

using Bytes = std::vector<unsigned char>;
using Pipe = boost::shared_ptr<tvn::Handle>;

constexpr DWORD kTimeout = 10000;
const tvn::ComString kPlay = L"play";

Bytes Encode(std::uint32_t id, const tvn::ComString& argument)
{
    Bytes bytes(sizeof id);
    const auto append = [&bytes](const void* from, std::size_t count) {
        const auto* first = static_cast<const unsigned char*>(from);
        bytes.insert(bytes.end(), first, first + count);
    };
    append(&id, sizeof id);
    for (const auto text : {tvn::ToView(kPlay), tvn::ToView(argument)}) {
        const auto size = static_cast<std::uint32_t>(text.size() * sizeof(wchar_t));
        append(&size, sizeof size);
        append(text.data(), size);
    }
    const auto size = static_cast<std::uint32_t>(bytes.size());
    std::memcpy(bytes.data(), &size, sizeof size);
    return bytes;
}

tvn::Serializer Serialize(std::uint32_t id, const tvn::ComString& argument)
{
    tvn::Serializer message;
    message.AddUInt(id);
    message.AddString(kPlay);
    message.AddString(argument);
    message.Serialize();
    return message;
}

Bytes ToBytes(const tvn::Serializer& message)
{
    return {message.GetBuffer().get(), message.GetBuffer().get() + message.GetSize()};
}

/// Reads or writes one whole message with nothing around the system calls.
template <class Call>
bool Transfer(Call readOrWrite, const Pipe& pipe, const tvn::Handle& event, Bytes& message)
{
    OVERLAPPED overlapped = {};
    overlapped.hEvent = event.Get();
    auto bytes = static_cast<DWORD>(message.size());
    return (readOrWrite(pipe->Get(), message.data(), bytes, nullptr, &overlapped) ||
            GetLastError() == ERROR_IO_PENDING) &&
           GetOverlappedResult(pipe->Get(), &overlapped, &bytes, TRUE);
}

/// Answers every command of one client with `reply`, under the command's id.
void Serve(const tvn::ComString& pipeName, Bytes reply)
{
    tvn::SimplePipeServer server;
    server.Create(pipeName, false);
    const Pipe pipe = server.WaitForClient(kTimeout);
    const tvn::Handle event(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    Bytes command(1024);
    while (pipe && Transfer(ReadFile, pipe, event, command)) {
        std::memcpy(&reply[4], &command[4], 4);  // the id, behind the length
        Transfer(WriteFile, pipe, event, reply);
    }
}

}  // namespace

TEST_CASE("a command is laid out and answered")
{
    const std::size_t characters = GENERATE(20U, 512 * 1024U);
    const std::string size = std::to_string(characters * sizeof(wchar_t)) + " bytes";
    const auto text = tvn::ToComString(std::wstring(characters, L'x'));
    REQUIRE((ToBytes(Serialize(1, text)) == Encode(1, text)));
    BENCHMARK("vector, " + size)
    {
        return Encode(1, text);
    };
    BENCHMARK("Serializer, " + size)
    {
        return Serialize(1, text);
    };

    tvn::Serializer layout;
    layout.AddUInt(1);
    layout.AddInt(tvn::sOk);
    layout.AddString(text);
    layout.Serialize();
    Bytes reply = ToBytes(layout);
    const tvn::ComString name = R"(\\.\pipe\talvern-bench)";
    const std::jthread servers[] = {std::jthread(Serve, name, reply),
                                    std::jthread(Serve, name, reply)};

    const Pipe pipe = tvn::RemotePipeClient(name).OpenPipe(kTimeout);
    const tvn::Handle event(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    Bytes request = Encode(1, kPlay);
    Bytes received(reply.size());
    BENCHMARK("system calls, " + size)
    {
        return Transfer(WriteFile, pipe, event, request) &&
               Transfer(ReadFile, pipe, event, received);
    };
    CHECK((received == reply));

    tvn::CommandClient client(name, {}, true);
    tvn::ComString answer;
    int status = tvn::sFail;
    BENCHMARK("CommandClient, " + size)
    {
        client.Execute(kTimeout, kPlay, kPlay, answer, status);
    };
    CHECK((status == tvn::sOk && answer == text));
}
