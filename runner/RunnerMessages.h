#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <vector>

#include "basicslib/ComString.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/Deserializer.h"
#include "pipeutils/Serializer.h"

namespace tvn
{

/// The messages of the runner service's pipe: what the client asks for, and the service's answers.
/// A message is its type id and then its own fields, in the order of the members below. An answer's
/// type id is its request's plus one. Messages are held by shared pointer and used by one thread.
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
    /// A message that has no id yet.
    static constexpr std::uint32_t kNoId = 0xFFFFFFFF;

    virtual ~BaseMsg() = default;

    virtual std::uint32_t GetType() const = 0;

    /// Adds the message's fields, without the type id. Gives a message without an id the next one
    /// of the process; ids are different whichever threads they are made on.
    virtual void Serialize(boost::shared_ptr<Serializer> serializer);

    /// Reads the same fields. Throws ReadPipeError when the message holds fewer.
    virtual void Deserialize(boost::shared_ptr<Deserializer> deserializer);

    std::uint32_t msgId;

  protected:
    explicit BaseMsg(std::uint32_t id = kNoId) : msgId(id) {}
    BaseMsg(const BaseMsg&) = default;
    BaseMsg& operator=(const BaseMsg&) = default;
};

/// What all answers share.
class BaseCompleteMsg : public BaseMsg
{
  public:
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    int result = sFail;  ///< a status code

  protected:
    explicit BaseCompleteMsg(std::uint32_t id) : BaseMsg(id) {}
};

/// Starts a program.
class MsgStart : public BaseMsg
{
  public:
    std::uint32_t GetType() const override { return mtStart; }
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    ComString appPath;
    ComString cmdLine;
    ComString user;  ///< empty: no other account is asked for
    ComString domain;
    ComString password;
};

class MsgStartComplete : public BaseCompleteMsg
{
  public:
    explicit MsgStartComplete(std::uint32_t id = 0) : BaseCompleteMsg(id) {}
    std::uint32_t GetType() const override { return mtStartComplete; }
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    std::uint32_t pid = 0;
    ComString processKey;  ///< the service's name for the process in later requests
};

/// Ends a process.
class MsgTerminate : public BaseMsg
{
  public:
    std::uint32_t GetType() const override { return mtTerminate; }
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    ComString processKey;
};

class MsgTerminateComplete : public BaseCompleteMsg
{
  public:
    explicit MsgTerminateComplete(std::uint32_t id = 0) : BaseCompleteMsg(id) {}
    std::uint32_t GetType() const override { return mtTerminateComplete; }
};

/// Waits for the end of a process.
class MsgWaitForExit : public BaseMsg
{
  public:
    std::uint32_t GetType() const override { return mtWaitForExit; }
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    std::uint32_t timeout = 0;  ///< milliseconds
    ComString processKey;
};

class MsgWaitForExitComplete : public BaseCompleteMsg
{
  public:
    explicit MsgWaitForExitComplete(std::uint32_t id = 0) : BaseCompleteMsg(id) {}
    std::uint32_t GetType() const override { return mtWaitForExitComplete; }
};

/// What the two requests for a list share: the file name of an executable.
class ListRequestMsg : public BaseMsg
{
  public:
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    ComString processName;
};

/// Lists the processes of an executable.
class MsgGetProcessesByName : public ListRequestMsg
{
  public:
    std::uint32_t GetType() const override { return mtGetProcessesByName; }
};

/// Parallel arrays. A message whose arrays differ in length is written without records.
class MsgGetProcessesByNameComplete : public BaseCompleteMsg
{
  public:
    explicit MsgGetProcessesByNameComplete(std::uint32_t id = 0) : BaseCompleteMsg(id) {}
    std::uint32_t GetType() const override { return mtGetProcessesByNameComplete; }
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    std::vector<std::uint32_t> pids;
    std::vector<ComString> processKeys;
};

/// Lists the browser instances of an executable.
class MsgGetInstancesByName : public ListRequestMsg
{
  public:
    std::uint32_t GetType() const override { return mtGetInstancesByName; }
};

/// Parallel arrays. A message whose arrays differ in length is written without records.
class MsgGetInstancesByNameComplete : public BaseCompleteMsg
{
  public:
    explicit MsgGetInstancesByNameComplete(std::uint32_t id = 0) : BaseCompleteMsg(id) {}
    std::uint32_t GetType() const override { return mtGetInstancesByNameComplete; }
    void Serialize(boost::shared_ptr<Serializer> serializer) override;
    void Deserialize(boost::shared_ptr<Deserializer> deserializer) override;

    std::vector<std::uint32_t> pids;
    std::vector<ComString> processKeys;
    std::vector<std::uint32_t> windows;  ///< window handles as 32 bits
};

}  // namespace tvn
