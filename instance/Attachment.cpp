#include "instance/Attachment.h"

#include <utility>

namespace instance
{

Attachment::Attachment(std::wstring creatorUuid) : m_reservedFor(std::move(creatorUuid)) {}

bool Attachment::Take(const void* client, const std::wstring& creatorUuid)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if ((m_client != nullptr && m_client != client) ||
        (!m_reservedFor.empty() && m_reservedFor != creatorUuid)) {
        return false;
    }
    m_client = client;
    return true;
}

void Attachment::Accept(const void* client)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_client == client) {
        m_accepted = true;
        m_reservedFor.clear();
    }
}

void Attachment::Release(const void* client)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_client == client) {
        m_client = nullptr;
        m_accepted = false;
    }
}

bool Attachment::IsHeldFor(const void* client) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_client == client;
}

bool Attachment::BelongsTo(const void* client) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_client == client && m_accepted;
}

bool Attachment::IsTaken() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_accepted;
}

bool Attachment::IsReserved() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_reservedFor.empty();
}

}  // namespace instance
