// Every call that the product makes to the platform passes through here: it is counted, made to
// fail, or given to somebody else. A program that is linked with this gets all of the product's
// imports in this way; the list is made from the product's libraries when they are built.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <span>
#include <string>

namespace tvn::tests
{

/// The names of all imports, in alphabetical order.
std::span<const char* const> ImportNames();

/// Whether a call of this function can fail in a way that its caller sees.
bool CanFail(const std::string& import);

/// Counts the calls that the thread which makes this makes until it goes. One at a time.
class ImportWatch
{
  public:
    ImportWatch() noexcept;
    ~ImportWatch();
    ImportWatch(const ImportWatch&) = delete;
    ImportWatch& operator=(const ImportWatch&) = delete;

    /// Lets the `call`-th call from now on, the first is 1, not reach the platform: it returns what
    /// the function returns when it fails, and `error` is its code. 0 for no call any more.
    void Fail(const std::string& import, DWORD error, unsigned int call = 1);

    /// The calls that were made of each import that was called.
    std::map<std::string, unsigned int> Calls() const;

    /// The handles that were opened by these calls less those that were closed.
    int OpenHandles() const;
};

/// Does `work`, and then again for each call of an import in it, which then fails. What comes
/// before and after each of these is not part of it; `after` is told which import it was, and how
/// many handles the work has left open.
void FailEachImport(const std::function<void()>& before, const std::function<void()>& work,
                    const std::function<void(const std::string& import, int handles)>& after);

/// Puts another function in the place of an import, on all threads, until it goes. Made by the
/// macro, which sees to it that the two are of one type.
class ReplacedImport
{
  public:
    ReplacedImport(const char* import, void* replacement);
    ~ReplacedImport();
    ReplacedImport(const ReplacedImport&) = delete;
    ReplacedImport& operator=(const ReplacedImport&) = delete;

  private:
    void*& m_place;
    void* m_before;
};

/// The function itself.
void* RealImport(const char* import);

#define TVN_REAL_IMPORT(name) reinterpret_cast<decltype(&(name))>(tvn::tests::RealImport(#name))
#define TVN_REPLACE_IMPORT(name, replacement) \
    tvn::tests::ReplacedImport(               \
        #name, reinterpret_cast<void*>(static_cast<decltype(&(name))>(replacement)))

}  // namespace tvn::tests
