#pragma once

#include <stdexcept>

namespace browser
{

/// What goes wrong with the real browser, with a text in UTF-8 for a person to read: what happened,
/// to what, and what to do.
class BrowserError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/// The browser did not carry out one command; its connection is as good as before.
class CommandError : public BrowserError
{
  public:
    using BrowserError::BrowserError;
};

/// The page that was to carry it out has gone or crashed.
class SessionEnded : public CommandError
{
  public:
    using CommandError::CommandError;
};

/// A macro cannot be played at all; the text is for whoever plays it.
class MacroError : public BrowserError
{
  public:
    using BrowserError::BrowserError;
};

}  // namespace browser
