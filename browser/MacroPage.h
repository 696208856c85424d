#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "browser/DevTools.h"
#include "browser/Pages.h"
#include "instance/PlayRequest.h"

namespace browser
{

/// The blank page in which macros run: hidden, in a context of its own, with the browser's protocol
/// at hand and the library that makes `page` of it. The pages that macros visit are others and
/// reach nothing of this one. Used by several threads; one of them plays at a time.
class MacroPage
{
  public:
    /// Both must outlive this object. Macros drive the visible one of `pages`.
    MacroPage(DevTools& tools, Pages& pages);

    /// Makes the page, which takes a moment, unless there is one that drives the visible page.
    /// Throws BrowserError.
    void Open();

    /// How a macro ended.
    struct Outcome
    {
        bool failed = false;
        std::string error;                ///< of one that failed
        int line = 0;                     ///< where it failed, 0 when that is not known
        std::vector<std::string> pieces;  ///< extracted until then
    };

    /// Plays a macro to its end. `isWanted` is asked once more before it begins. Throws
    /// CommandError when the page has gone under it, BrowserError when the browser has.
    Outcome Play(const std::string& source,
                 const std::vector<instance::PlayRequest::Setting>& settings, bool traces,
                 const std::function<bool()>& isWanted);

    /// Discards the page with the macro that runs in it, whatever that does, and the pages that it
    /// has opened; from any thread. The next play gets a new one.
    void Abandon();

    /// Whether this is the session of the page, the only one that may ask the program questions.
    bool Owns(const std::string& session);

    /// Makes another page the visible one, at the request of the macro that runs here, which
    /// therefore is not told. False when there is no such page.
    bool Use(const std::string& target);

    /// Answers a question of the page's library: with an error, or an empty one and a value.
    void Answer(const std::string& session, int question, const std::string& error,
                const Json& value);

    /// Tells the page's library of an event of the browser as a whole.
    void Tell(const std::string& method, const Json& parameters);

    /// Gives the page's library the source of the page library, which a macro has asked for.
    void Load(const std::string& session, const std::string& source);

  private:
    struct Place
    {
        std::string context;  ///< in which the page is alone
        std::string target;
        std::string session;
        std::string library;  ///< the object of the library in the page
        std::string visible;  ///< target of the page that it drives
    };

    Place Current();
    void OpenPage(Place& place);
    void Discard(const Place& place);
    Json Run(const Place& place, const Json& values);
    int LineOfSyntaxError(const Place& place, const std::string& source);

    DevTools& m_tools;
    Pages& m_pages;
    std::mutex m_mutex;
    Place m_place;
    unsigned int m_pagesBefore = 0;  ///< the play that runs
};

}  // namespace browser
