#include "browser/MacroPage.h"

#include <utility>

#include "basicslib/ScopeExit.h"
#include "browser/BrowserError.h"
#include "browser/Resources.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

constexpr const char* kBrowserChannel = "talvernBrowser";
constexpr const char* kProgramChannel = "talvernProgram";

/// Runs before the page is given the protocol: a text of a web page that a macro puts into its own
/// document must not become code that could use it, and must load nothing. There are no frames,
/// neither in such a text nor made by a macro: one that loads something in a hidden page ends the
/// browser.
constexpr const char* kPolicy = R"((() => {
  const policy = "default-src 'none'; script-src 'unsafe-eval'; " +
    "require-trusted-types-for 'script'; trusted-types default";
  const meta = { httpEquiv: "Content-Security-Policy", content: policy };
  document.head.append(Object.assign(document.createElement("meta"), meta));
  const frame = /<(?=\/?(i?frame|object|embed|portal|fencedframe))/gi;
  for (const method of ["createElement", "createElementNS"]) {
    const create = Document.prototype[method];
    Document.prototype[method] = function (...values) {
      if (values.some((name) => /^(.*:)?(i?frame|object|embed|portal|fencedframe)$/i.test(name))) {
        throw new Error("the document of a macro has no frames; use those of the page");
      }
      return create.apply(this, values);
    };
  }
  trustedTypes.createPolicy("default", {
    createScript: (text) => text,
    createHTML: (text) => text.replace(frame, "<no-"),
  });
  return 0;
})())";

Json CallOn(const std::string& library, const std::string& method, const Json& values)
{
    Json arguments = Json::array();
    for (const Json& value : values) {
        arguments.push_back({{"value", value}});
    }
    return {
        {"objectId", library},
        {"functionDeclaration", "function(...values) { return this." + method + "(...values); }"},
        {"arguments", arguments},
        {"returnByValue", true},
        {"awaitPromise", true}};
}

/// The result of a call; a failure inside the library is a fault of this program.
Json ValueOf(const Json& answer)
{
    if (answer.contains("exceptionDetails")) {
        throw BrowserError("The macro page is out of order: " +
                           answer["exceptionDetails"].dump(-1, ' ', true));
    }
    return answer.at("result").value("value", Json());
}

Json PairsOf(const std::vector<instance::PlayRequest::Setting>& settings, bool variables)
{
    Json pairs = Json::array();
    for (const auto& setting : settings) {
        if (setting.isVariable == variables) {
            pairs.push_back({ToUtf8(setting.name), ToUtf8(setting.value)});
        }
    }
    return pairs;
}

}  // namespace

MacroPage::MacroPage(DevTools& tools, Pages& pages) : m_tools(tools), m_pages(pages) {}

MacroPage::Place MacroPage::Current()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_place;
}

void MacroPage::Open()
{
    const std::string visible = m_pages.Visible().target;
    if (!visible.empty() && Current().visible == visible) {
        return;
    }
    Place place;
    place.visible = visible;
    const tvn::ScopeExit discard([&] { Discard(place); });
    OpenPage(place);
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::swap(m_place, place);  // whatever was there before is discarded
}

void MacroPage::OpenPage(Place& place)
{
    // Nothing that is stored or remembered is shared with the visible page.
    place.context = m_tools.Call("", "Target.createBrowserContext", {{"disposeOnDetach", true}})
                        .at("browserContextId");
    place.target =
        m_tools
            .Call("", "Target.createTarget",
                  {{"url", "about:blank"}, {"hidden", true}, {"browserContextId", place.context}})
            .at("targetId");
    place.session =
        m_tools.Call("", "Target.attachToTarget", {{"targetId", place.target}, {"flatten", true}})
            .at("sessionId");
    ValueOf(m_tools.Call(place.session, "Runtime.evaluate", {{"expression", kPolicy}}));
    m_tools.Call("", "Target.exposeDevToolsProtocol",
                 {{"targetId", place.target}, {"bindingName", kBrowserChannel}});
    m_tools.Post(place.session, "Inspector.enable");  // which tells of a crash
    m_tools.Post(place.session, "Runtime.enable");
    m_tools.Post(place.session, "Runtime.addBinding", {{"name", kProgramChannel}});
    const Json library = m_tools.Call(place.session, "Runtime.evaluate",
                                      {{"expression", ReadScript(Script::kMacroPage)}});
    place.library = library.at("result").value("objectId", "");
    if (place.library.empty()) {
        ValueOf(library);
    }
    ValueOf(m_tools.Call(place.session, "Runtime.callFunctionOn",
                         CallOn(place.library, "attach", {place.visible, place.target})));
}

void MacroPage::Discard(const Place& place)
{
    if (!place.target.empty()) {
        m_tools.Post("", "Target.closeTarget", {{"targetId", place.target}});
    }
    if (!place.context.empty()) {
        m_tools.Post("", "Target.disposeBrowserContext", {{"browserContextId", place.context}});
    }
}

MacroPage::Outcome MacroPage::Play(const std::string& source,
                                   const std::vector<instance::PlayRequest::Setting>& settings,
                                   bool traces, const std::function<bool()>& isWanted)
{
    Open();
    Place place;
    {
        // Whoever abandons the page has marked the play as unwanted before.
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!isWanted()) {
            throw CommandError("The macro was stopped.");
        }
        place = m_place;
        m_pagesBefore = m_pages.Opened();
        m_pages.LeaveDialogs(false);  // left so by an earlier play that was given up
    }
    const Json played =
        Run(place, {source, PairsOf(settings, true), PairsOf(settings, false), traces});
    if (played.value("gone", false)) {
        throw BrowserError("The page was closed.");
    }
    Outcome outcome;
    outcome.pieces = played.at("pieces").get<std::vector<std::string>>();
    if (played.contains("error")) {
        const Json& error = played["error"];
        outcome.failed = true;
        outcome.error = error.value("message", "");
        outcome.line = error.value("line", 0);
        if (error.value("syntax", false)) {
            outcome.line = LineOfSyntaxError(place, source);
        }
    }
    return outcome;
}

Json MacroPage::Run(const Place& place, const Json& values)
{
    try {
        return ValueOf(m_tools.Call(place.session, "Runtime.callFunctionOn",
                                    CallOn(place.library, "play", values), INFINITE));
    } catch (const SessionEnded& error) {
        throw SessionEnded(std::string("The macro was stopped with its own page: ") + error.what());
    }
}

void MacroPage::Abandon()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_place.target.empty()) {
        Discard(m_place);
        m_pages.CloseSince(m_pagesBefore);
    }
    m_place = {};
}

bool MacroPage::Owns(const std::string& session)
{
    return Current().session == session;
}

bool MacroPage::Use(const std::string& target)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool isThere = m_pages.Use(target);
    m_place.visible = isThere ? target : m_place.visible;
    return isThere;
}

void MacroPage::Load(const std::string& session, const std::string& source)
{
    const Place place = Current();
    if (place.session == session) {
        ValueOf(m_tools.Call(
            session, "Runtime.callFunctionOn",
            {{"objectId", place.library},
             {"functionDeclaration", "function() {" + source + "\n;this.loaded(Puppeteer); }"}}));
    }
}

void MacroPage::Tell(const std::string& method, const Json& parameters)
{
    const Place place = Current();
    if (!place.library.empty()) {
        m_tools.Post(place.session, "Runtime.callFunctionOn",
                     CallOn(place.library, "heard", {method, parameters}));
    }
}

void MacroPage::Answer(const std::string& session, int question, const std::string& error,
                       const Json& value)
{
    const Place place = Current();
    if (place.session == session) {
        m_tools.Post(session, "Runtime.callFunctionOn",
                     CallOn(place.library, "answered", {question, error, value}));
    }
}

int MacroPage::LineOfSyntaxError(const Place& place, const std::string& source)
{
    // The compiler reports lines, the exception does not. Its lines count from 0, which makes up
    // for the line that is put in front.
    const Json compiled = m_tools.Call(place.session, "Runtime.compileScript",
                                       {{"expression", "(async () => {\n" + source + "\n})"},
                                        {"sourceURL", "macro"},
                                        {"persistScript", false}});
    return compiled.contains("exceptionDetails")
               ? compiled["exceptionDetails"].value("lineNumber", 0)
               : 0;
}

}  // namespace browser
