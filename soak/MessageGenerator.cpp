#include "soak/MessageGenerator.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace soak
{
namespace
{

constexpr std::uint32_t kOddNumbers[] = {0,          1,          2,          3,          4,
                                         0xFFFFFFFF, 0xFFFFFFFE, 0x80000000, 0x80000001, 0x7FFFFFFF,
                                         0x7FFFFFFE, 0x40000000, 0xFFFF,     0x10000,    0x8000};

constexpr std::wstring_view kTexts[] = {
    L"",
    L"a",
    L"New York",
    L"[EXTRACT]",
    L"[tvn!E!tvn]",
    L"Macro stopped[tvn!E!tvn]x[EXTRACT]y",
    L"[tvn!E!tvn][EXTRACT][EXTRACT]",
    L"[SP][LF][BR]%s%n%S",
    L"\xD800",
    L"\xDC00\xD800\xFFFF",
    std::wstring_view(L"\0 a\0", 4),
    L"e0a1b2c3_9297_4c7d_92de_8b73f62b22f2",
};

constexpr std::size_t kLongestMessage = 60000;

void SetNumber(Bytes& fields, std::size_t at, std::uint32_t number)
{
    std::memcpy(fields.data() + at, &number, std::min(sizeof number, fields.size() - at));
}

}  // namespace

void MessageGenerator::AddText(Bytes& fields)
{
    const std::wstring_view text = m_random.Pick(kTexts);
    if (!m_random.OneIn(200)) {
        AppendText(fields, text);
        return;
    }
    AppendText(fields, std::wstring(m_random.Below(4000), L'x'));
}

void MessageGenerator::AddFields(const std::vector<Field>& kinds, const std::vector<Field>& record,
                                 Bytes& fields)
{
    for (const Field field : kinds) {
        m_places.push_back({field, fields.size()});
        if (field == Field::Number) {
            AppendNumber(fields, m_random.OneIn(4) ? OddNumber()
                                                   : static_cast<std::uint32_t>(m_random.Next()));
        } else if (field == Field::Text) {
            AddText(fields);
        } else {
            // Many records that hold next to nothing need the most room for what is sent.
            const bool many = m_random.OneIn(200);
            const std::size_t count = m_random.Below(many ? 3000 : 5);
            AppendNumber(fields, static_cast<std::uint32_t>(count));
            for (std::size_t left = count; left > 0; --left) {
                if (many) {
                    fields.resize(fields.size() + record.size() * sizeof(std::uint32_t));
                } else {
                    AddFields(record, record, fields);
                }
            }
        }
    }
}

void MessageGenerator::WriteSound(const MessageShape& shape, std::uint32_t id, Bytes& fields)
{
    fields.clear();
    m_places.clear();
    if (shape.type != 0) {
        m_places.push_back({Field::Number, 0});
        AppendNumber(fields, shape.type);
    }
    const std::size_t first = fields.size();
    AddFields(shape.fields, shape.record, fields);
    SetNumber(fields, first, id);
}

void MessageGenerator::WriteBroken(const MessageShape& shape, std::uint32_t id, Bytes& fields)
{
    WriteSound(shape, id, fields);
    for (std::size_t breaks = 1 + m_random.Below(4); breaks > 0; --breaks) {
        if (m_random.OneIn(4)) {
            Scramble(fields);
        } else {
            BreakPlace(m_places[m_random.Below(m_places.size())], fields);
        }
    }
}

void MessageGenerator::BreakPlace(const Place& place, Bytes& fields)
{
    constexpr std::size_t kNumberSize = sizeof(std::uint32_t);
    if (place.at + kNumberSize > fields.size()) {
        return;  // an earlier break took it away
    }
    if (place.field == Field::Number) {
        SetNumber(fields, place.at, OddNumber());
        return;
    }
    const std::size_t rest = fields.size() - place.at - kNumberSize;
    SetNumber(fields, place.at, BrokenCount(NumberAt(fields.data() + place.at), rest));
}

void MessageGenerator::Scramble(Bytes& fields)
{
    const std::size_t at = m_random.Below(fields.size() + 1);
    const std::size_t count = std::min(m_random.Below(12), fields.size() - at);
    const auto begin = fields.begin() + static_cast<std::ptrdiff_t>(at);
    const auto end = begin + static_cast<std::ptrdiff_t>(count);
    switch (m_random.Below(7)) {
        case 0:
            fields.resize(at);
            break;
        case 1:
            fields.erase(begin, end);
            break;
        case 2:
            if (fields.size() < kLongestMessage) {
                const Bytes doubled(begin, end);
                fields.insert(begin, doubled.begin(), doubled.end());
            }
            break;
        case 3:
            fields.insert(fields.end(), count, static_cast<unsigned char>(m_random.Next()));
            break;
        case 4:
            if (at + 2 * sizeof(std::uint32_t) <= fields.size()) {
                std::swap_ranges(begin, begin + 4, begin + 4);
            }
            break;
        case 5:
            if (at < fields.size()) {
                fields[at] = static_cast<unsigned char>(fields[at] ^ (1U << m_random.Below(8)));
            }
            break;
        default:
            if (at + sizeof(std::uint32_t) <= fields.size()) {
                SetNumber(fields, at, OddNumber());
            }
            break;
    }
}

std::uint32_t MessageGenerator::BrokenCount(std::uint32_t right, std::size_t rest)
{
    const auto left = static_cast<std::uint32_t>(rest);
    switch (m_random.Below(8)) {
        case 0:
            return right + 1;
        case 1:
            return right - 1;
        case 2:
            return left;
        case 3:
            return left + 1;
        case 4:
            return left - 1;
        case 5:
            return right | 0x80000000U;
        case 6:
            return right * 2;
        default:
            return OddNumber();
    }
}

std::uint32_t MessageGenerator::OddNumber()
{
    return m_random.OneIn(8) ? static_cast<std::uint32_t>(m_random.Below(64))
                             : m_random.Pick(kOddNumbers);
}

std::uint32_t MessageGenerator::BrokenLength(std::size_t size)
{
    const auto right = static_cast<std::uint32_t>(size);
    return m_random.OneIn(3) ? right : BrokenCount(right, size);
}

}  // namespace soak
