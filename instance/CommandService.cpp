#include "instance/CommandService.h"

#include <boost/make_shared.hpp>
#include <new>

#include "basicslib/ComString.h"
#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/Log.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"

namespace instance
{
namespace
{

constexpr DWORD kRefusalTime = 1000;

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
    try {
        const auto connection = boost::make_shared<Connection>(pipe);
        if (connection->Start()) {
            ReadCommands(connection);
        }
        if (m_attachment.BelongsTo(connection.get())) {
            m_commands.Detached();
        }
        m_attachment.Release(connection.get());
        connection->Close();
    } catch (const tvn::BaseException& exception) {
        tvn::LogError("A client cannot be served. %s",
                      static_cast<const char*>(exception.GetDescription()));
    } catch (const std::bad_alloc&) {
        tvn::LogError("A client cannot be served. There is no memory.");
    }
}

void CommandService::ReadCommands(const boost::shared_ptr<Connection>& connection)
{
    try {
        tvn::CommandsProtocol protocol(connection->Pipe(), connection->Closing());
        while (connection->WaitForRoom()) {
            Answer answer = {connection, 0};
            tvn::ComString command;
            tvn::ComString argument;
            protocol.ReceiveCommand(answer.id, command, argument, INFINITE);
            Run(std::wstring(tvn::ToView(command)), std::wstring(tvn::ToView(argument)), answer);
        }
    } catch (const tvn::BaseException&) {
        tvn::LogDebug("A client has gone, or has sent what is no command.");
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
