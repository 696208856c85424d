// Broken messages through the deserializer and every message class, in memory.

#include <windows.h>

#include <array>
#include <boost/make_shared.hpp>
#include <memory>

#include "basicslib/Exceptions.h"
#include "runner/RunnerProtocol.h"
#include "soak/Campaign.h"
#include "soak/CaseCourse.h"
#include "soak/Coverage.h"
#include "soak/GuardedBuffer.h"
#include "soak/MessageGenerator.h"
#include "soak/OwnMemory.h"
#include "soak/ProductCall.h"

namespace soak
{
namespace
{

/// A message takes some room of its own, whatever it holds: the objects that decode it.
constexpr std::size_t kRoomOfItsOwn = 512;
constexpr std::size_t kLargestMessage = std::size_t{128} * 1024;
constexpr std::size_t kKeptMessages = 4096;

/// What became of one message.
enum class Ending { Read, Refused, OutOfMemory, Foreign };
constexpr std::size_t kEndings = 4;

class DecoderRun
{
  public:
    explicit DecoderRun(Journal& journal) : m_journal(journal), m_guarded(kLargestMessage) {}

    /// The messages that took a new way through the decoders, of which more are made.
    std::vector<Bytes>& Kept() { return m_kept; }
    const std::array<std::uint64_t, kEndings>& Endings() const { return m_endings; }
    std::size_t LargestOverSize() const { return m_largestOver; }

    /// Decodes the fields of one message and holds what happened against the grammar. True when
    /// all was as it should be.
    bool Try(const MessageShape& shape, const Bytes& fields)
    {
        if (fields.size() > m_guarded.Size()) {
            return true;
        }
        OwnMemory::ForgetLargest();
        const std::ptrdiff_t before = OwnMemory::Watched().blocks;
        Ending ending = Ending::Read;
        bool isNew = false;
        {
            const ProductCall inside;
            Coverage::Begin();
            ending = Decode(shape, fields);
            isNew = Coverage::EndWithSomethingNew();
        }
        const OwnMemory::Figures after = OwnMemory::Watched();
        ++m_endings[static_cast<std::size_t>(ending)];
        if (isNew && m_kept.size() < kKeptMessages) {
            m_kept.push_back(fields);
        }
        return Judge(shape, fields, ending, after, before);
    }

  private:
    Ending Decode(const MessageShape& shape, const Bytes& fields)
    {
        // The buffer is not the message's to free.
        const tvn::MessageBuffer buffer(m_guarded.Place(fields), [](unsigned char*) {});
        const auto size = static_cast<std::uint32_t>(fields.size() + sizeof(std::uint32_t));
        const auto message = boost::make_shared<tvn::Deserializer>(size, buffer);
        try {
            if (shape.type == 0) {
                ReadFields(shape, *message);
            } else {
                ReadMessageOfAnyType(message);
            }
            return Ending::Read;
        } catch (const tvn::ReadPipeError& error) {
            return error.GetError() == ERROR_INVALID_DATA ? Ending::Refused : Ending::Foreign;
        } catch (const tvn::BaseException&) {
            return Ending::Foreign;
        } catch (const _com_error&) {
            return Ending::OutOfMemory;
        } catch (const std::bad_alloc&) {
            return Ending::OutOfMemory;
        } catch (const std::exception&) {
            return Ending::Foreign;
        }
    }

    void ReadFields(const MessageShape& shape, tvn::Deserializer& message)
    {
        for (std::size_t index = 0; index < shape.fields.size(); ++index) {
            if (shape.fields[index] == Field::Text && shape.name != std::string_view("reply")) {
                tvn::ComString text;
                message.ReadString(text);
            } else if (shape.fields[index] == Field::Text) {
                // Where it lies: the last character is read, too.
                const std::wstring_view text = message.ReadText();
                m_lastCharacter = text.empty() ? L'\0' : text.back();
            } else if (index == 1) {
                int number = 0;
                message.ReadInt(number);
            } else {
                unsigned int number = 0;
                message.ReadUInt(number);
            }
        }
    }

    void ReadMessageOfAnyType(const boost::shared_ptr<tvn::Deserializer>& message)
    {
        unsigned int type = 0;
        message->ReadUInt(type);
        const auto created = m_protocol.CreateMsg(type);
        if (!created) {
            throw tvn::ReadPipeError(ERROR_INVALID_DATA, __FILE__, __LINE__);
        }
        created->Deserialize(message);
    }

    bool Judge(const MessageShape& shape, const Bytes& fields, Ending ending,
               const OwnMemory::Figures& after, std::ptrdiff_t blocksBefore)
    {
        const Ending right = IsWhole(shape, fields) ? Ending::Read : Ending::Refused;
        const std::size_t most = fields.size() + sizeof(std::uint32_t) + kRoomOfItsOwn;
        if (fields.size() > kRoomOfItsOwn) {
            m_largestOver = std::max(m_largestOver, 100 * after.largest / fields.size());
        }
        std::string wrong;
        if (ending != right) {
            wrong = "ended as " + std::to_string(static_cast<int>(ending)) + ", not as " +
                    std::to_string(static_cast<int>(right));
        } else if (after.largest > most) {
            wrong = "allocated " + std::to_string(after.largest) + " bytes at once";
        } else if (after.blocks != blocksBefore) {
            wrong = "left " + std::to_string(after.blocks - blocksBefore) + " blocks";
        }
        if (wrong.empty()) {
            return true;
        }
        m_journal.Fault(std::string(shape.name) + " of " + std::to_string(fields.size()) +
                        " bytes " + wrong);
        return false;
    }

    static bool IsWhole(const MessageShape& shape, const Bytes& fields)
    {
        if (shape.type == 0) {
            return HoldsAllFields(shape, fields.data(), fields.size());
        }
        const MessageShape* sent =
            fields.size() < 4 ? nullptr : ShapeOfType(NumberAt(fields.data()));
        return sent != nullptr && HoldsAllFields(*sent, fields.data() + 4, fields.size() - 4);
    }

    Journal& m_journal;
    GuardedBuffer m_guarded;
    tvn::RunnerProtocol m_protocol{INVALID_HANDLE_VALUE, nullptr};
    std::vector<Bytes> m_kept;
    std::array<std::uint64_t, kEndings> m_endings = {};
    std::size_t m_largestOver = 0;
    volatile wchar_t m_lastCharacter = 0;
};

}  // namespace

void RunDecoders(const Settings& settings, Journal& journal)
{
    DecoderRun run(journal);
    Bytes fields;
    std::uint64_t survived = 0;
    CaseCourse course(settings, journal, 5'000'000, 200'000);
    for (; course.Goes(); course.Next()) {
        // What was kept depends on all cases before.
        Journal::NoteCase("--cases", course.Number() + 1);
        Random random(settings.seed, course.Number());
        MessageGenerator generator(random);
        const auto& shapes = AllShapes();
        const MessageShape& shape = shapes[random.Below(shapes.size())];
        // Half of them go on from what has led somewhere new before.
        if (!run.Kept().empty() && random.OneIn(2)) {
            fields = run.Kept()[random.Below(run.Kept().size())];
            for (std::size_t breaks = 1 + random.Below(4); breaks > 0; --breaks) {
                generator.Scramble(fields);
            }
        } else if (random.OneIn(8)) {
            generator.WriteSound(shape, 1, fields);
        } else {
            generator.WriteBroken(shape, 1, fields);
        }
        survived += run.Try(shape, fields) ? 1U : 0U;
    }
    journal.Count(course.Number(), survived);
    const auto& endings = run.Endings();
    journal.AddTable(
        "Decoders",
        {{"messages", "read whole", "refused", "other endings",
          "largest allocation, of the message", "ways through the code"},
         {std::to_string(course.Number()), std::to_string(endings[0]), std::to_string(endings[1]),
          std::to_string(endings[2] + endings[3]), std::to_string(run.LargestOverSize()) + " %",
          std::to_string(Coverage::Known())}});
}

}  // namespace soak
