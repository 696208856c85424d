#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "basicslib/Handle.h"

namespace bench
{

/// The least that can play on a command pipe: hand-written loops of system calls on messages that
/// are laid out once. Used by one thread. Everything throws std::runtime_error when a call fails.
class BareClient
{
  public:
    /// `macro` is what every play sends.
    BareClient(const std::string& pipeName, const std::wstring& macro);

    /// One play: a write, and a read of the whole reply into a buffer that exists already.
    void Transfer();

    /// The same with two reads, of the length and of the rest, into a buffer allocated for it.
    void TransferLengthFirst();

  private:
    void Write();
    DWORD Read(unsigned char* buffer, DWORD count);

    tvn::Handle m_pipe;
    tvn::Handle m_event;
    std::vector<unsigned char> m_request;
    std::vector<unsigned char> m_reply;
};

}  // namespace bench
