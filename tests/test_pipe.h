#pragma once

#include <windows.h>

#include <boost/make_shared.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "basicslib/Handle.h"
#include "pipeutils/BaseProtocol.h"
#include "pipeutils/PipeServerBase.h"
#include "pipeutils/RemotePipeClient.h"

namespace tests
{

/// The operations that the pipe servers of the product share, for tests to call.
class PipeServer : public tvn::PipeServerBase
{
  public:
    using PipeServerBase::ConnectPipe;
    using PipeServerBase::CreatePipe;

    static boost::shared_ptr<tvn::Handle> NewEnd(const std::string& name)
    {
        DWORD error = 0;
        return boost::make_shared<tvn::Handle>(CreatePipe(name.c_str(), TRUE, error));
    }
};

using Bytes = std::vector<unsigned char>;

/// Little-endian 32-bit words, for messages written out by hand.
inline Bytes Words(std::initializer_list<std::uint32_t> words)
{
    Bytes bytes;
    for (const std::uint32_t word : words) {
        for (unsigned int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<unsigned char>(word >> shift));
        }
    }
    return bytes;
}

/// Both ends of a real pipe, connected: `server` is where the other side of a protocol would be.
class PipePair
{
  public:
    explicit PipePair(const std::string& name = "\\\\.\\pipe\\TalvernTest")
        : server(PipeServer::NewEnd(name)), client(tvn::RemotePipeClient(name.c_str()).OpenPipe())
    {}

    /// Writes one pipe message from the server's side.
    void Send(const Bytes& bytes) const
    {
        tvn::BaseProtocol(server->Get(), nullptr)
            .WritePipe(bytes.data(), static_cast<DWORD>(bytes.size()), 1000);
    }

    /// Reads one pipe message on the server's side.
    Bytes Receive() const
    {
        Bytes bytes(4096);
        bytes.resize(tvn::BaseProtocol(server->Get(), nullptr)
                         .ReadPipe(bytes.data(), static_cast<DWORD>(bytes.size()), 5000)
                         .bytes);
        return bytes;
    }

    boost::shared_ptr<tvn::Handle> server;
    boost::shared_ptr<tvn::Handle> client;
};

}  // namespace tests
