// Broken messages through everything that decodes them, held against a second reader of the
// grammar.

#include <array>
#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "runner/RunnerProtocol.h"
#include "tests/imported_calls.h"
#include "tests/messages.h"
#include "tests/resources.h"
#include "tests/stress/cases.h"

namespace tvn::tests
{
namespace
{

/// A type id, 0 for a message that has none, and the fields behind it: n a number, t a byte count
/// and a text, l a count and that many records, none for a negative one.
struct Shape
{
    std::uint32_t type;
    std::string_view fields;
    std::string_view record = {};
};

constexpr Shape kShapes[] = {
    {0, "ntt"},  // a command, its reply, the callback; the runner's messages in their order
    {0, "nnt"}, {0, "n"},  {1, "nttttt"}, {2, "nnnt"},      {3, "nt"}, {4, "nn"},
    {5, "nnt"}, {6, "nn"}, {7, "nt"},     {8, "nnl", "nt"}, {9, "nt"}, {10, "nnl", "ntn"},
};

/// The second reader.
class Grammar
{
  public:
    explicit Grammar(const Bytes& bytes) : m_bytes(bytes) {}

    bool HoldsMessage(const Shape& shape)
    {
        if (shape.type == 0) {
            return Holds(shape.fields, "");
        }
        std::uint32_t type = 0;
        return TakeNumber(type) &&
               std::any_of(std::begin(kShapes), std::end(kShapes), [&](const Shape& each) {
                   return type != 0 && each.type == type && Holds(each.fields, each.record);
               });
    }

  private:
    bool Holds(std::string_view fields, std::string_view record)
    {
        return std::all_of(fields.begin(), fields.end(), [&](char field) {
            std::uint32_t number = 0;
            if (!TakeNumber(number)) {
                return false;
            }
            auto records = field == 'l' ? static_cast<std::int32_t>(number) : 0;
            while (records > 0 && Holds(record, "")) {
                --records;
            }
            return records <= 0 && (field != 't' || Skip(number));
        });
    }

    bool TakeNumber(std::uint32_t& number)
    {
        if (m_bytes.size() - m_at < sizeof number) {
            return false;
        }
        std::memcpy(&number, m_bytes.data() + m_at, sizeof number);
        return Skip(sizeof number);
    }

    bool Skip(std::size_t count)
    {
        const bool isThere = count <= m_bytes.size() - m_at;
        m_at += isThere ? count : 0;
        return isThere;
    }

    const Bytes& m_bytes;
    std::size_t m_at = 0;
};

/// Makes messages as the grammar wants them, and breaks them.
class Generator
{
  public:
    explicit Generator(std::mt19937& random) : m_random(random) {}

    Bytes Message(const Shape& shape)
    {
        if (shape.type != 0) {
            AddNumber(shape.type);
        }
        AddFields(shape.fields, shape.record);
        for (std::size_t breaks = Below(5); breaks > 0; --breaks) {
            Break();
        }
        return m_bytes;
    }

  private:
    std::size_t Below(std::size_t end) { return m_random() % end; }

    void AddNumber(std::uint32_t number)
    {
        m_places.push_back(m_bytes.size());
        AppendField(m_bytes, number);
    }

    void AddFields(std::string_view fields, std::string_view record)
    {
        static constexpr std::array<std::string_view, 5> kTexts = {
            "", "a", "New York", "[tvn!E!tvn]x[EXTRACT]y", "[EXTRACT][EXTRACT]"};
        for (const char field : fields) {
            if (field == 'n') {
                AddNumber(static_cast<std::uint32_t>(Below(4) == 0 ? OddNumber(0) : m_random()));
            } else if (field == 't') {
                m_places.push_back(m_bytes.size());
                AppendField(m_bytes, Below(200) == 0 ? std::string(Below(4000), 'x')
                                                     : kTexts[Below(kTexts.size())]);
            } else {
                // Many records that hold next to nothing take the most room for what is sent.
                const std::size_t count = Below(Below(200) == 0 ? 3000 : 5);
                AddNumber(static_cast<std::uint32_t>(count));
                for (std::size_t left = count; left > 0; --left) {
                    count < 5 ? AddFields(record, "")
                              : m_bytes.resize(m_bytes.size() + record.size() * 4);
                }
            }
        }
    }

    void Break()
    {
        const std::size_t at = Below(m_bytes.size() + 1);
        const std::size_t count = std::min(Below(12), m_bytes.size() - at);
        const auto begin = m_bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const Bytes part(begin, begin + static_cast<std::ptrdiff_t>(count));
        switch (Below(7)) {
            case 0:
                m_bytes.resize(at);
                break;
            case 1:
                m_bytes.insert(begin, part.begin(), part.end());
                break;
            case 2:
                if (count > 0) {
                    m_bytes[at] = static_cast<unsigned char>(m_bytes[at] ^ (1U << Below(8)));
                }
                break;
            default:
                SetNumber(m_places[Below(m_places.size())]);
        }
    }

    void SetNumber(std::size_t at)
    {
        std::uint32_t number = 0;
        if (at + sizeof number <= m_bytes.size()) {
            std::memcpy(&number, m_bytes.data() + at, sizeof number);
            number = OddNumber(number, m_bytes.size() - at - sizeof number);
            std::memcpy(m_bytes.data() + at, &number, sizeof number);
        }
    }

    /// One that is off by little, or far beyond.
    std::uint32_t OddNumber(std::uint32_t right, std::size_t rest = 0)
    {
        const auto left = static_cast<std::uint32_t>(rest);
        const auto few = static_cast<std::uint32_t>(Below(64));
        const std::uint32_t numbers[] = {
            right + 1,  right - 1,          left,   left + 1,   left - 1,
            right * 2,  right | 0x80000000, 0,      0xFFFFFFFF, 0x80000000,
            0x7FFFFFFF, 0x40000000,         0xFFFF, few};
        return numbers[Below(std::size(numbers))];
    }

    std::mt19937& m_random;
    Bytes m_bytes;
    std::vector<std::size_t> m_places;  // where a number or a count is
};

/// Memory that ends where nothing can be read.
class GuardedRoom
{
  public:
    ~GuardedRoom() { VirtualFree(m_bytes, 0, MEM_RELEASE); }

    /// A copy that ends there, or a byte before: the first lies where a character may lie. Valid
    /// until the next one.
    unsigned char* Copy(const Bytes& bytes) const
    {
        unsigned char* const place = m_bytes + kSize - bytes.size() - bytes.size() % 2;
        std::copy(bytes.begin(), bytes.end(), place);
        return place;
    }

  private:
    static constexpr std::size_t kSize = 0x20000;

    unsigned char* const m_bytes = [] {
        void* const room = VirtualAlloc(nullptr, kSize + 0x1000, MEM_RESERVE, PAGE_NOACCESS);
        return static_cast<unsigned char*>(VirtualAlloc(room, kSize, MEM_COMMIT, PAGE_READWRITE));
    }();
};

void ReadFields(const Shape& shape, Deserializer& message)
{
    for (const char field : shape.fields) {
        unsigned int number = 0;
        ComString text;
        if (field == 'n') {
            message.ReadUInt(number);
        } else if (shape.fields == "nnt") {
            // Of a reply, where it lies: the last character is read, too.
            const volatile std::size_t hash = std::hash<std::wstring_view>()(message.ReadText());
            static_cast<void>(hash);
        } else {
            message.ReadString(text);
        }
    }
}

/// Whether all fields are there; nothing but the refusal that is meant for it may be thrown.
bool IsRead(const Shape& shape, const boost::shared_ptr<Deserializer>& message)
{
    static RunnerProtocol protocol(INVALID_HANDLE_VALUE, nullptr);
    try {
        if (shape.type == 0) {
            ReadFields(shape, *message);
            return true;
        }
        unsigned int type = 0;
        message->ReadUInt(type);
        const auto created = protocol.CreateMsg(type);
        if (created) {
            created->Deserialize(message);
        }
        return static_cast<bool>(created);
    } catch (const ReadPipeError& error) {
        EXPECT_EQ(error.GetError(), static_cast<DWORD>(ERROR_INVALID_DATA));
        return false;
    }
}

}  // namespace

TEST(BrokenMessages, AreReadOrRefusedAsTheirGrammarSaysAndTakeNoMoreRoomThanTheyHave)
{
    constexpr std::size_t kRoomOfItsOwn = 512;  // for the objects that decode it
    const GuardedRoom room;
    std::uint64_t read = 0;
    const auto sized = TVN_REPLACE_IMPORT(SysAllocStringByteLen, [](LPCSTR text, UINT size) {
        g_largestAllocation = std::max<std::size_t>(g_largestAllocation, size);
        return TVN_REAL_IMPORT(SysAllocStringByteLen)(text, size);
    });
    ForEachCase(50'000 * Scale(), [&](std::uint64_t /*number*/, std::mt19937& random) {
        const Shape& shape = kShapes[random() % std::size(kShapes)];
        const Bytes fields = Generator(random).Message(shape);
        const MessageBuffer buffer(room.Copy(fields), [](unsigned char*) {});  // not to be freed
        const auto size = static_cast<std::uint32_t>(fields.size() + sizeof(std::uint32_t));
        g_largestAllocation = 0;
        const ImportWatch watch;
        const bool isRead = IsRead(shape, boost::make_shared<Deserializer>(size, buffer));
        EXPECT_EQ(watch.IsOpen().blocks, 0);
        EXPECT_EQ(isRead, Grammar(fields).HoldsMessage(shape));
        EXPECT_LE(g_largestAllocation, size + kRoomOfItsOwn);
        read += isRead ? 1U : 0U;
    });
    RecordProperty("read", std::to_string(read));
}

}  // namespace tvn::tests
