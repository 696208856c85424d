#pragma once

#include <utility>

namespace tvn
{

/// Runs an action, which must not throw, when its scope is left, normally or by an exception.
template <class Action>
class ScopeExit
{
  public:
    explicit ScopeExit(Action action) noexcept : m_action(std::move(action)) {}
    ~ScopeExit() { m_action(); }
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;

  private:
    Action m_action;
};

}  // namespace tvn
