#pragma once

#include <unknwn.h>

namespace comserver
{

/// The owner of one reference to a COM interface.
template <class Interface>
class ComPtr
{
  public:
    ComPtr() noexcept = default;

    /// Takes a reference of its own.
    explicit ComPtr(Interface* object) noexcept : m_object(object)
    {
        if (m_object != nullptr) {
            m_object->AddRef();
        }
    }
    ~ComPtr()
    {
        if (m_object != nullptr) {
            m_object->Release();
        }
    }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;

    Interface* Get() const noexcept { return m_object; }
    Interface* operator->() const noexcept { return m_object; }

    /// For a function that gives a reference; the pointer must be empty.
    Interface** Receive() noexcept { return &m_object; }

    /// Gives the reference to the caller.
    Interface* Detach() noexcept
    {
        Interface* object = m_object;
        m_object = nullptr;
        return object;
    }

  private:
    Interface* m_object = nullptr;
};

}  // namespace comserver
