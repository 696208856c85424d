#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "browser/DevTools.h"
#include "instance/PlayRequest.h"

namespace browser
{

/// The blank page in which macros run: hidden, in a context of its own, with the browser's protocol
/// at hand and the library that makes `page` of it. The pages that macros visit are others and
/// reach nothing of this one. Used by several threads; one of them plays at a time.
class MacroPage
{
  public:
    /// `tools` must outlive this object; `visibleTarget` is the page that macros drive.
    MacroPage(DevTools& tools, std::string visibleTarget);

    /// Makes the page if there is none, which takes a moment. Throws BrowserError.
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

    /// Throws the page away with the macro that runs in it, whatever that does; from any thread.
    /// The next play gets a new one.
    void Abandon();

    /// Answers a question of the page's library: with an error, or an empty one and a value.
    void Answer(const std::string& session, int question, const std::string& error,
                const std::string& value);

    /// Gives the page's library the source of the page library, which a macro has asked for.
    void Load(const std::string& session, const std::string& source);

    /// Tells the page's library of an event of the browser itself.
    void Tell(const std::string& method, const Json& parameters);

  private:
    struct Place
    {
        std::string target;
        std::string session;
        std::string library;  ///< the object of the library in the page
    };

    Place Current();
    int LineOfSyntaxError(const Place& place, const std::string& source);

    DevTools& m_tools;
    std::string m_visibleTarget;
    std::mutex m_mutex;
    Place m_place;
};

}  // namespace browser
