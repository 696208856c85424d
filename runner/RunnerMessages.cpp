#include "runner/RunnerMessages.h"

#include <atomic>

namespace tvn
{
namespace
{

/// The id of the last message that was given one. Never reset while the program is loaded.
std::atomic<std::uint32_t> g_lastMsgId{0};

std::uint32_t ReadNumber(Deserializer& deserializer)
{
    unsigned int value = 0;
    deserializer.ReadUInt(value);
    return value;
}

ComString ReadText(Deserializer& deserializer)
{
    ComString text;
    deserializer.ReadString(text);
    return text;
}

/// Reads the count of a list. It is not believed: room is made record by record, as they are read.
int ReadCount(Deserializer& deserializer)
{
    int count = 0;
    deserializer.ReadInt(count);
    return count;
}

}  // namespace

void BaseMsg::Serialize(boost::shared_ptr<Serializer> serializer)
{
    if (msgId == kNoId) {
        msgId = ++g_lastMsgId;
    }
    serializer->AddUInt(msgId);
}

void BaseMsg::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    msgId = ReadNumber(*deserializer);
}

void BaseCompleteMsg::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseMsg::Serialize(serializer);
    serializer->AddInt(result);
}

void BaseCompleteMsg::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseMsg::Deserialize(deserializer);
    deserializer->ReadInt(result);
}

void MsgStart::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseMsg::Serialize(serializer);
    for (const ComString* text : {&appPath, &cmdLine, &user, &domain, &password}) {
        serializer->AddString(*text);
    }
}

void MsgStart::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseMsg::Deserialize(deserializer);
    for (ComString* text : {&appPath, &cmdLine, &user, &domain, &password}) {
        deserializer->ReadString(*text);
    }
}

void MsgStartComplete::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseCompleteMsg::Serialize(serializer);
    serializer->AddUInt(pid);
    serializer->AddString(processKey);
}

void MsgStartComplete::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseCompleteMsg::Deserialize(deserializer);
    pid = ReadNumber(*deserializer);
    deserializer->ReadString(processKey);
}

void MsgTerminate::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseMsg::Serialize(serializer);
    serializer->AddString(processKey);
}

void MsgTerminate::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseMsg::Deserialize(deserializer);
    deserializer->ReadString(processKey);
}

void MsgWaitForExit::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseMsg::Serialize(serializer);
    serializer->AddUInt(timeout);
    serializer->AddString(processKey);
}

void MsgWaitForExit::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseMsg::Deserialize(deserializer);
    timeout = ReadNumber(*deserializer);
    deserializer->ReadString(processKey);
}

void ListRequestMsg::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseMsg::Serialize(serializer);
    serializer->AddString(processName);
}

void ListRequestMsg::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseMsg::Deserialize(deserializer);
    deserializer->ReadString(processName);
}

void MsgGetProcessesByNameComplete::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseCompleteMsg::Serialize(serializer);
    const std::size_t count = pids.size() == processKeys.size() ? pids.size() : 0;
    serializer->AddInt(static_cast<int>(count));
    for (std::size_t index = 0; index < count; ++index) {
        serializer->AddUInt(pids[index]);
        serializer->AddString(processKeys[index]);
    }
}

void MsgGetProcessesByNameComplete::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseCompleteMsg::Deserialize(deserializer);
    for (int left = ReadCount(*deserializer); left > 0; --left) {
        pids.push_back(ReadNumber(*deserializer));
        processKeys.push_back(ReadText(*deserializer));
    }
}

void MsgGetInstancesByNameComplete::Serialize(boost::shared_ptr<Serializer> serializer)
{
    BaseCompleteMsg::Serialize(serializer);
    const bool even = pids.size() == processKeys.size() && pids.size() == windows.size();
    const std::size_t count = even ? pids.size() : 0;
    serializer->AddInt(static_cast<int>(count));
    for (std::size_t index = 0; index < count; ++index) {
        serializer->AddUInt(pids[index]);
        serializer->AddString(processKeys[index]);
        serializer->AddUInt(windows[index]);
    }
}

void MsgGetInstancesByNameComplete::Deserialize(boost::shared_ptr<Deserializer> deserializer)
{
    BaseCompleteMsg::Deserialize(deserializer);
    for (int left = ReadCount(*deserializer); left > 0; --left) {
        pids.push_back(ReadNumber(*deserializer));
        processKeys.push_back(ReadText(*deserializer));
        windows.push_back(ReadNumber(*deserializer));
    }
}

}  // namespace tvn
