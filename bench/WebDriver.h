#pragma once

#include <memory>
#include <string>

namespace bench
{

/// One session of a WebDriver server on this machine, over a connection that is kept open. Used by
/// one thread. Everything throws an exception derived from std::exception when the server does not
/// do what it is asked.
class WebDriver
{
  public:
    /// Starts a session, and with it a browser with these arguments, divided by blanks.
    WebDriver(unsigned short port, const std::string& browserArguments);

    /// Ends the session and its browser.
    ~WebDriver();

    WebDriver(const WebDriver&) = delete;
    WebDriver& operator=(const WebDriver&) = delete;

    void Go(const std::string& address);

    /// The value that a script, the body of a function, gives, as JSON.
    std::string Evaluate(const std::string& script);

    /// The first element that a CSS selector names, as the server calls it.
    std::string Find(const std::string& selector);

    void Clear(const std::string& element);
    void Type(const std::string& element, const std::string& text);
    void Click(const std::string& element);
    std::string Text(const std::string& element);

  private:
    class Connection;

    std::unique_ptr<Connection> m_connection;
    std::string m_session;
};

}  // namespace bench
