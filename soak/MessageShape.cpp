#include "soak/MessageShape.h"

#include <cstring>

namespace soak
{
namespace
{

using enum Field;

/// Takes fields from the front of what was received, and remembers when one was not there.
class FieldTaker
{
  public:
    FieldTaker(const unsigned char* bytes, std::size_t size) : m_bytes(bytes), m_size(size) {}

    bool Take(const std::vector<Field>& fields, const std::vector<Field>& record)
    {
        for (const Field field : fields) {
            std::uint32_t number = 0;
            if (!TakeNumber(number)) {
                return false;
            }
            if (field == Text && !Skip(number)) {
                return false;
            }
            if (field == List && !TakeList(static_cast<std::int32_t>(number), record)) {
                return false;
            }
        }
        return true;
    }

  private:
    bool TakeNumber(std::uint32_t& number)
    {
        if (m_size < sizeof number) {
            return false;
        }
        number = NumberAt(m_bytes);
        return Skip(sizeof number);
    }

    bool TakeList(std::int32_t count, const std::vector<Field>& record)
    {
        for (; count > 0; --count) {
            if (!Take(record, record)) {
                return false;
            }
        }
        return true;
    }

    bool Skip(std::size_t count)
    {
        if (count > m_size) {
            return false;
        }
        m_bytes += count;
        m_size -= count;
        return true;
    }

    const unsigned char* m_bytes;
    std::size_t m_size;
};

}  // namespace

const std::vector<MessageShape>& AllShapes()
{
    static const std::vector<MessageShape> shapes = {
        {"command", 0, {Number, Text, Text}, {}},
        {"reply", 0, {Number, Number, Text}, {}},
        {"callback", 0, {Number}, {}},
        {"Start", 1, {Number, Text, Text, Text, Text, Text}, {}},
        {"StartComplete", 2, {Number, Number, Number, Text}, {}},
        {"Terminate", 3, {Number, Text}, {}},
        {"TerminateComplete", 4, {Number, Number}, {}},
        {"WaitForExit", 5, {Number, Number, Text}, {}},
        {"WaitForExitComplete", 6, {Number, Number}, {}},
        {"GetProcessesByName", 7, {Number, Text}, {}},
        {"GetProcessesByNameComplete", 8, {Number, Number, List}, {Number, Text}},
        {"GetInstancesByName", 9, {Number, Text}, {}},
        {"GetInstancesByNameComplete", 10, {Number, Number, List}, {Number, Text, Number}},
    };
    return shapes;
}

const MessageShape* ShapeNamed(std::string_view name)
{
    for (const MessageShape& shape : AllShapes()) {
        if (shape.name == name) {
            return &shape;
        }
    }
    return nullptr;
}

const MessageShape* ShapeOfType(std::uint32_t type)
{
    for (const MessageShape& shape : AllShapes()) {
        if (shape.type == type && type != 0) {
            return &shape;
        }
    }
    return nullptr;
}

bool HoldsAllFields(const MessageShape& shape, const unsigned char* bytes, std::size_t size)
{
    return FieldTaker(bytes, size).Take(shape.fields, shape.record);
}

void AppendNumber(Bytes& bytes, std::uint32_t number)
{
    const auto* first = reinterpret_cast<const unsigned char*>(&number);
    bytes.insert(bytes.end(), first, first + sizeof number);
}

void AppendText(Bytes& bytes, std::wstring_view text)
{
    AppendNumber(bytes, static_cast<std::uint32_t>(text.size() * sizeof(wchar_t)));
    const auto* first = reinterpret_cast<const unsigned char*>(text.data());
    bytes.insert(bytes.end(), first, first + text.size() * sizeof(wchar_t));
}

std::uint32_t NumberAt(const unsigned char* bytes)
{
    std::uint32_t number = 0;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

Bytes WithLength(const Bytes& fields)
{
    Bytes message;
    message.reserve(fields.size() + sizeof(std::uint32_t));
    AppendNumber(message, static_cast<std::uint32_t>(fields.size() + sizeof(std::uint32_t)));
    message.insert(message.end(), fields.begin(), fields.end());
    return message;
}

Bytes ReplyMessage(std::uint32_t id, int status, std::wstring_view text)
{
    Bytes fields;
    AppendNumber(fields, id);
    AppendNumber(fields, static_cast<std::uint32_t>(status));
    AppendText(fields, text);
    return WithLength(fields);
}

}  // namespace soak
