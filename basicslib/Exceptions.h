#pragma once

#include <windows.h>

#include "basicslib/ComString.h"

namespace tvn
{

/// Base class of the exceptions that report every failure inside the system. They are thrown by
/// value, caught by reference, and hold their texts in fixed arrays, so that making and copying one
/// allocates nothing. The methods of the scripting object turn them into status codes.
class BaseException
{
  public:
    /// No source position.
    BaseException() noexcept = default;

    /// `file` and `line` are the position of the throwing statement; a name longer than 511 bytes
    /// is cut.
    BaseException(const char* file, int line) noexcept;

    BaseException(const BaseException&) noexcept = default;
    BaseException& operator=(const BaseException&) noexcept = default;

    /// What happened and where, for a person to read. Throws when there is no memory for the text.
    virtual ComString GetDescription() const { return ToComString("BaseException"); }

    virtual ~BaseException() = default;

  protected:
    char m_file[512] = {};
    int m_line = 0;
};

/// An internal check that failed; thrown by `TVN_ASSERT`.
class AssertException : public BaseException
{
  public:
    /// `expression` is the checked expression as written in the source. Expressions longer than 255
    /// and file names longer than 1023 bytes are cut.
    AssertException(const char* expression, const char* file, int line) noexcept;

    ComString GetDescription() const override;

  private:
    char m_expression[256];
    char m_file[1024];
    int m_line;
};

/// A system call that failed.
class Win32Exception : public BaseException
{
  public:
    /// `error` is the code that GetLastError gave for the call.
    Win32Exception(DWORD error, const char* file, int line) noexcept
        : BaseException(file, line), m_error(error)
    {}

    ComString GetDescription() const override { return Describe("Win32Exception"); }

    DWORD GetError() const noexcept { return m_error; }

  protected:
    /// The description, which begins with `name`. The pipe exceptions use the same format.
    ComString Describe(const char* name) const;

  private:
    DWORD m_error;
};

/// An operation that the object's state does not allow.
class InvalidOperationException : public BaseException
{
  public:
    ComString GetDescription() const override { return ToComString("InvalidOperationException"); }
};

/// Any failure on a pipe. Code that returns status codes catches this class.
class PipeException : public Win32Exception
{
  public:
    using Win32Exception::Win32Exception;

    ComString GetDescription() const override { return Describe(GetName()); }

    /// The name of the exception's own class, a constant.
    virtual const char* GetName() const noexcept { return "PipeException"; }
};

/// No message came within the time-out.
class ReadPipeTimeout : public PipeException
{
  public:
    using PipeException::PipeException;
    const char* GetName() const noexcept override { return "ReadPipeTimeout"; }
};

/// The interrupt event was signalled while a read waited.
class PipeInterrupted : public PipeException
{
  public:
    using PipeException::PipeException;
    const char* GetName() const noexcept override { return "PipeInterrupted"; }
};

/// A read failed, or a message is malformed.
class ReadPipeError : public PipeException
{
  public:
    using PipeException::PipeException;
    const char* GetName() const noexcept override { return "ReadPipeError"; }
};

/// A write failed, was short, or timed out because the other side did not read.
class WritePipeError : public PipeException
{
  public:
    using PipeException::PipeException;
    const char* GetName() const noexcept override { return "WritePipeError"; }
};

}  // namespace tvn

/// Throws AssertException with the text of `expression` when it is false. To fail unconditionally,
/// negate a string literal: TVN_ASSERT(!"Unexpected return code").
#define TVN_ASSERT(expression)                                           \
    do {                                                                 \
        if (!(expression)) {                                             \
            throw tvn::AssertException(#expression, __FILE__, __LINE__); \
        }                                                                \
    } while (false)
