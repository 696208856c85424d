#pragma once

namespace tvn
{

/// Keeps a flag set from construction to destruction. The flag must outlive this object.
class FlagScope
{
  public:
    explicit FlagScope(bool& flag) noexcept : m_flag(flag) { m_flag = true; }
    ~FlagScope() { m_flag = false; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

  private:
    bool& m_flag;
};

}  // namespace tvn
