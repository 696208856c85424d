#pragma once

#include <mutex>
#include <string>

namespace instance
{

/// Which client an instance belongs to: at most one. An instance that was started by a scripting
/// object is reserved for that object until the object has attached. When the client's connection
/// ends, the instance is free for anybody. A client is identified by any pointer. Thread-safe.
class Attachment
{
  public:
    /// An empty `creatorUuid` reserves the instance for nobody.
    explicit Attachment(std::wstring creatorUuid);

    /// Holds the instance for `client` while the instance decides. False when it belongs to another
    /// client or is reserved for somebody else.
    bool Take(const void* client, const std::wstring& creatorUuid);

    /// The instance has accepted the client that took it, and is no longer reserved.
    void Accept(const void* client);

    /// The instance has refused the client, or the client's connection has ended.
    void Release(const void* client);

    /// Whether `client` has taken the instance, accepted or not yet.
    bool IsHeldFor(const void* client) const;

    /// Whether the instance has accepted `client`.
    bool BelongsTo(const void* client) const;

    /// Whether it has accepted anybody.
    bool IsTaken() const;

    /// Whether its creator has not attached yet.
    bool IsReserved() const;

  private:
    mutable std::mutex m_mutex;
    const void* m_client = nullptr;
    bool m_accepted = false;
    std::wstring m_reservedFor;
};

}  // namespace instance
