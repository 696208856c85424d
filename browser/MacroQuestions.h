#pragma once

#include <string>

#include "browser/Chromium.h"
#include "browser/DevTools.h"
#include "browser/MacroPage.h"
#include "browser/Workers.h"

namespace browser
{

/// What the page of the macros asks the program for, a JSON object with what it is about ("what")
/// and, where there is an answer, an "id":
///
/// - "trace": "text" is to be written to the debug output.
/// - "screenshot": the visible page is to be drawn to "path", all of it if "fullPage". Gives the
///   file.
/// - "files": gives "paths" as the browser knows them; each must be one of a file that is there.
/// - "use": the page whose target is "target" is the visible one from now on. Gives nothing.
/// - "library": the page library is to be loaded into the page. Gives nothing.
/// - "dialogs": the dialogs of pages are left to the macro from now on if "macro", or else answered
///   here. Has no answer.
/// - "command": the command "method" with "params" is to be given to the browser as a whole, which
///   the page's own channel to the browser does for "Target.…" only. Gives its result as a text.
///   Events of the browser as a whole go to the page by MacroPage::Tell.
class MacroQuestions
{
  public:
    /// All of them must outlive this object.
    MacroQuestions(Chromium& chromium, MacroPage& macroPage, Workers& workers)
        : m_chromium(chromium), m_macroPage(macroPage), m_workers(workers)
    {}

    /// Takes what a page has sent over its binding: anything but a question of the macros' page is
    /// ignored. Does not wait; on any thread.
    void Take(const std::string& session, const std::string& text);

  private:
    Json Answer(const std::string& session, const Json& question);
    Json FilesForBrowser(const Json& paths) const;
    Json RunCommand(const std::string& method, const Json& parameters);

    Chromium& m_chromium;
    MacroPage& m_macroPage;
    Workers& m_workers;
};

}  // namespace browser
