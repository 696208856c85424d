#include "instance/CommandService.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <new>

#include "basicslib/ComString.h"
#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/ScopeExit.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"

namespace instance
{
namespace
{

constexpr DWORD kRefusalTime = 1000;
constexpr DWORD kIdleTime = 10000;
constexpr std::size_t kMostConnections = 64;

}  // namespace

CommandService::CommandService(HWND window, const InstanceArguments& arguments, ICommands& commands)
    : m_commands(commands),
      m_attachment(arguments.creatorUuid),
      m_listener(static_cast<const char*>(tvn::InstancePipeName(tvn::WindowValue(window))),
                 arguments.authorizeAll ? PipeAccess::kEveryone : PipeAccess::kOwnAccount,
                 [this](const boost::shared_ptr<tvn::Handle>& pipe) { Serve(pipe); })
{}

bool CommandService::Start()
{
    return m_listener.Start();
}

void CommandService::Serve(const boost::shared_ptr<tvn::Handle>& pipe)
{
    const auto connection = boost::make_shared<Connection>(pipe);
    Admit(connection);
    const tvn::ScopeExit left([&] { Dismiss(connection); });
    if (connection->Start()) {
        ReadCommands(connection);
    }
    if (m_attachment.BelongsTo(connection.get())) {
        m_commands.Detached();
    }
}

/// Adds a connection. When there are too many, the oldest one that is not attached is closed, so
/// that nobody locks others out by opening connections.
void CommandService::Admit(const boost::shared_ptr<Connection>& connection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_connections.push_back(connection);
    if (m_connections.size() > kMostConnections) {
        const auto oldest =
            std::find_if(m_connections.begin(), m_connections.end(),
                         [this](const auto& each) { return !m_attachment.IsHeldFor(each.get()); });
        (*oldest)->Close();
        m_connections.erase(oldest);
    }
}

void CommandService::Dismiss(const boost::shared_ptr<Connection>& connection)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::erase(m_connections, connection);
    }
    m_attachment.Release(connection.get());
    connection->Close();
}

void CommandService::ReadCommands(const boost::shared_ptr<Connection>& connection)
{
    try {
        tvn::CommandsProtocol protocol(connection->Pipe(), connection->Closing());
        while (connection->WaitForRoom()) {
            Answer answer = {connection, 0};
            tvn::ComString command;
            tvn::ComString argument;
            const bool mayIdle = m_attachment.IsHeldFor(connection.get());
            protocol.ReceiveCommand(answer.id, command, argument, mayIdle ? INFINITE : kIdleTime);
            Run(std::wstring(tvn::ToView(command)), std::wstring(tvn::ToView(argument)), answer);
        }
    } catch (const tvn::ReadPipeTimeout&) {
        tvn::LogDebug("A client that is not attached has sent no command in time.");
    } catch (const tvn::BaseException&) {
        tvn::LogDebug("A client has disconnected, or has sent something that is no command.");
    } catch (const std::bad_alloc&) {
        tvn::LogError("A command does not fit into memory.");
    } catch (const _com_error&) {
        tvn::LogError("A command does not fit into memory.");
    }
}

void CommandService::Run(const std::wstring& command, const std::wstring& argument,
                         const Answer& answer)
{
    if (command == tvn::kCommandAttachIfFree) {
        Attach(argument, answer);
    } else if (command == tvn::kCommandAttachedCount) {
        answer.Give(tvn::sOk, m_attachment.IsTaken() ? L"1" : L"0");
    } else {
        RunForOwner(command, argument, answer);
    }
}

/// The commands that only the client that the instance belongs to may give.
void CommandService::RunForOwner(const std::wstring& command, const std::wstring& argument,
                                 const Answer& answer)
{
    const bool mayCommand = m_attachment.BelongsTo(answer.connection.get());
    if (mayCommand && command == tvn::kCommandPlay) {
        m_commands.Play(PlayRequest(argument), answer);
    } else if (mayCommand && command == tvn::kCommandDisplay) {
        m_commands.Display(argument, answer);
    } else if (mayCommand && command == tvn::kCommandEnd) {
        m_commands.End(answer);
    } else {
        answer.Give(tvn::sFail);
    }
}

void CommandService::Attach(const std::wstring& creatorUuid, const Answer& answer)
{
    if (!m_attachment.Take(answer.connection.get(), creatorUuid)) {
        answer.Give(tvn::sFail);
        return;
    }
    m_commands.Attach([this, answer](bool accepted) {
        if (accepted) {
            m_attachment.Accept(answer.connection.get());
        } else {
            m_attachment.Release(answer.connection.get());
        }
        answer.Give(accepted ? tvn::sOk : tvn::sFail);
        if (!accepted) {
            answer.connection->Flush(kRefusalTime);  // an instance that refuses may end at once
        }
    });
}

}  // namespace instance
