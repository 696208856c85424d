// Every call that the product makes to the platform, and every block of memory that it asks for,
// passes through here: it is counted, made to fail, or passed to a replacement. A program that is
// linked with this gets all of the product's imports in this way; the list is made from the
// product's libraries when they are built.
#pragma once

#include <windows.h>

#include <atomic>
#include <boost/noncopyable.hpp>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace tvn::tests
{

/// How a call fails.
enum class Fails : unsigned char {
    kOnce,        ///< it does nothing, and reports the failure
    kThoughDone,  ///< it does its work, and reports a failure all the same
    kFromHereOn,  ///< this one, and every later one of the same kind: memory stays short
};

/// What can fail beside the imports by their names: each block of memory (operator new, malloc and
/// the three that make COM strings), and whatever can fail at all.
inline constexpr const char* kMemory = "memory";
inline constexpr const char* kAnything = "anything";

struct Open
{
    int handles = 0;
    int blocks = 0;             ///< of memory, with the COM strings
    std::size_t bytes = 0;      ///< of the blocks without these
    std::size_t mostBytes = 0;  ///< at a time
};

/// Counts the calls and the blocks of memory of the thread that makes this, until it is destroyed,
/// and lets them fail. One at a time.
class ImportWatch : boost::noncopyable
{
  public:
    ImportWatch() noexcept;
    ~ImportWatch();

    /// Lets the `call`-th call of `what` from now on, counted from 1, fail with the code `error`; 0
    /// lets no call fail any more. A call that frees something does so in any case.
    void Fail(std::string_view what, DWORD error, unsigned int call = 1,
              Fails how = Fails::kOnce) noexcept;

    /// The import that has failed, "new", or a null pointer.
    const char* Failed() const noexcept;

    /// The calls that were made of each import that was called, and of operator new.
    std::map<std::string, unsigned int> Calls() const;

    /// Those of them that can fail in this way.
    unsigned int CallsThatCanFail(Fails how) const noexcept;

    /// What was opened by these calls less what was closed.
    const Open& IsOpen() const noexcept;
};

/// For operator new and delete, which are defined elsewhere.
bool BlockFails(std::size_t size) noexcept;
void BlockIsFreed(std::size_t size) noexcept;

/// Puts another function in the place of an import, on all threads, until it is destroyed. Made by
/// the macro, which makes sure that the two are of one type.
class ReplacedImport : boost::noncopyable
{
  public:
    ReplacedImport(const char* import, void* replacement);
    ~ReplacedImport() { m_place = m_before; }

  private:
    void*& m_place;
    void* m_before;
};

/// The function itself.
void* RealImport(const char* import);

#define TVN_REAL_IMPORT(name) reinterpret_cast<decltype(&(name))>(tvn::tests::RealImport(#name))
#define TVN_REPLACE_IMPORT(name, ...) \
    tvn::tests::ReplacedImport(       \
        #name, reinterpret_cast<void*>(static_cast<decltype(&(name))>(__VA_ARGS__)))

/// This program's own entries stand in the place of some of the platform's imports, for the
/// statically linked product as well. They pass every call on unless a test sets something here.
struct ReplacedImports
{
    DWORD tickOffset = 0;             ///< added to GetTickCount
    std::atomic<DWORD> lastWait = 0;  ///< the milliseconds of the last MsgWaitForMultipleObjectsEx
    bool logonSucceeds = false;       ///< CreateProcessWithLogonW gives a process with the id 4711
    std::wstring logon;               ///< its last arguments, divided by bars
};

extern ReplacedImports g_imports;

}  // namespace tvn::tests
