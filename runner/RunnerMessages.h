#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <tuple>
#include <vector>

#include "basicslib/ComString.h"
#include "basicslib/StatusCode.h"
#include "runner/MessageFields.h"

namespace tvn
{

/// The messages of the runner service's pipe: what the client asks for, and the service's answers.
/// A message is its type id and then its own fields, in the order of `Fields`. An answer's type id
/// is its request's plus one. Messages are held by shared pointer and used by one thread.
enum MsgType : std::uint32_t {
    mtStart = 1,
    mtStartComplete = 2,
    mtTerminate = 3,
    mtTerminateComplete = 4,
    mtWaitForExit = 5,
    mtWaitForExitComplete = 6,
    mtGetProcessesByName = 7,
    mtGetProcessesByNameComplete = 8,
    mtGetInstancesByName = 9,
    mtGetInstancesByNameComplete = 10,
};

class BaseMsg
{
  public:
    /// The id of a message that has none yet.
    static constexpr std::uint32_t kNoId = 0xFFFFFFFF;

    virtual ~BaseMsg() = default;

    virtual std::uint32_t GetType() const = 0;

    /// Adds the message's fields, without the type id. Assigns the next id of the process to a
    /// message without one; ids are unique across threads.
    virtual void Serialize(boost::shared_ptr<Serializer> serializer);

    /// Reads the same fields. Throws ReadPipeError when the message holds fewer.
    virtual void Deserialize(boost::shared_ptr<Deserializer> deserializer);

    std::uint32_t msgId;

  protected:
    explicit BaseMsg(std::uint32_t id = kNoId) noexcept : msgId(id) {}
    BaseMsg(const BaseMsg&) = default;
    BaseMsg& operator=(const BaseMsg&) = default;
};

/// What all answers share.
class BaseCompleteMsg : public WithFields<BaseCompleteMsg, BaseMsg>
{
  public:
    explicit BaseCompleteMsg(std::uint32_t id = 0) noexcept : WithFields(id) {}

    auto Fields() { return std::tie(result); }

    int result = sFail;  ///< a status code
};

/// An answer that is a result and nothing else.
template <std::uint32_t kType>
class ResultMsg : public MessageWithFields<ResultMsg<kType>, BaseCompleteMsg, kType>
{
  public:
    using MessageWithFields<ResultMsg, BaseCompleteMsg, kType>::MessageWithFields;
    auto Fields() { return std::tie(); }
};

/// Starts a program.
class MsgStart : public MessageWithFields<MsgStart, BaseMsg, mtStart>
{
  public:
    auto Fields() { return std::tie(appPath, cmdLine, user, domain, password); }

    ComString appPath;
    ComString cmdLine;
    ComString user;  ///< empty: no other account is asked for
    ComString domain;
    ComString password;
};

class MsgStartComplete
    : public MessageWithFields<MsgStartComplete, BaseCompleteMsg, mtStartComplete>
{
  public:
    using MessageWithFields::MessageWithFields;

    auto Fields() { return std::tie(pid, processKey); }

    std::uint32_t pid = 0;
    ComString processKey;  ///< the service's name for the process in later requests
};

/// Ends a process.
class MsgTerminate : public MessageWithFields<MsgTerminate, BaseMsg, mtTerminate>
{
  public:
    auto Fields() { return std::tie(processKey); }

    ComString processKey;
};

using MsgTerminateComplete = ResultMsg<mtTerminateComplete>;

/// Waits for the end of a process.
class MsgWaitForExit : public MessageWithFields<MsgWaitForExit, BaseMsg, mtWaitForExit>
{
  public:
    auto Fields() { return std::tie(timeout, processKey); }

    std::uint32_t timeout = 0;  ///< milliseconds
    ComString processKey;
};

using MsgWaitForExitComplete = ResultMsg<mtWaitForExitComplete>;

/// Lists what is running from an executable.
template <std::uint32_t kType>
class ListRequestMsg : public MessageWithFields<ListRequestMsg<kType>, BaseMsg, kType>
{
  public:
    auto Fields() { return std::tie(processName); }

    ComString processName;  ///< the executable's file name
};

/// The processes of an executable.
using MsgGetProcessesByName = ListRequestMsg<mtGetProcessesByName>;

/// Parallel arrays. A message whose arrays differ in length is written without records.
class MsgGetProcessesByNameComplete
    : public MessageWithFields<MsgGetProcessesByNameComplete, BaseCompleteMsg,
                               mtGetProcessesByNameComplete>
{
  public:
    using MessageWithFields::MessageWithFields;

    auto Fields() { return std::tuple(Records(pids, processKeys)); }

    std::vector<std::uint32_t> pids;
    std::vector<ComString> processKeys;
};

/// The browser instances of an executable.
using MsgGetInstancesByName = ListRequestMsg<mtGetInstancesByName>;

/// Parallel arrays. A message whose arrays differ in length is written without records.
class MsgGetInstancesByNameComplete
    : public MessageWithFields<MsgGetInstancesByNameComplete, BaseCompleteMsg,
                               mtGetInstancesByNameComplete>
{
  public:
    using MessageWithFields::MessageWithFields;

    auto Fields() { return std::tuple(Records(pids, processKeys, windows)); }

    std::vector<std::uint32_t> pids;
    std::vector<ComString> processKeys;
    std::vector<std::uint32_t> windows;  ///< window handles as 32 bits
};

}  // namespace tvn
