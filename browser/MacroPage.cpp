#include "browser/MacroPage.h"

#include <utility>

#include "basicslib/Log.h"
#include "browser/BrowserError.h"
#include "browser/Resources.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

constexpr const char* kBrowserChannel = "talvernBrowser";
constexpr const char* kProgramChannel = "talvernProgram";

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

/// What a call gave; a failure inside the library is a fault of this program.
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

MacroPage::MacroPage(DevTools& tools, std::string visibleTarget)
    : m_tools(tools), m_visibleTarget(std::move(visibleTarget))
{}

MacroPage::Place MacroPage::Current()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_place;
}

void MacroPage::Open()
{
    if (!Current().target.empty()) {
        return;
    }
    // Nothing that is stored or remembered is shared with the visible page.
    const Json context =
        m_tools.Call("", "Target.createBrowserContext", {{"disposeOnDetach", true}});
    Place place;
    place.target = m_tools
                       .Call("", "Target.createTarget",
                             {{"url", "about:blank"},
                              {"hidden", true},
                              {"browserContextId", context.at("browserContextId")}})
                       .at("targetId");
    m_tools.Call("", "Target.exposeDevToolsProtocol",
                 {{"targetId", place.target}, {"bindingName", kBrowserChannel}});
    place.session =
        m_tools.Call("", "Target.attachToTarget", {{"targetId", place.target}, {"flatten", true}})
            .at("sessionId");
    m_tools.Post(place.session, "Runtime.enable");
    m_tools.Post(place.session, "Runtime.addBinding", {{"name", kProgramChannel}});
    const Json library = m_tools.Call(place.session, "Runtime.evaluate",
                                      {{"expression", ReadScript(Script::kMacroPage)}});
    place.library = library.at("result").value("objectId", "");
    if (place.library.empty()) {
        ValueOf(library);
    }
    ValueOf(m_tools.Call(place.session, "Runtime.callFunctionOn",
                         CallOn(place.library, "attach", {m_visibleTarget, place.target})));
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_place = place;
}

MacroPage::Outcome MacroPage::Play(const std::string& source,
                                   const std::vector<instance::PlayRequest::Setting>& settings,
                                   bool traces, const std::function<bool()>& isWanted)
{
    Open();
    Place place;
    {
        // Whoever abandons the page makes the play unwanted before.
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!isWanted()) {
            throw CommandError("The macro was stopped.");
        }
        place = m_place;
    }
    const Json values = {source, PairsOf(settings, true), PairsOf(settings, false), traces};
    const Json played = ValueOf(m_tools.Call(place.session, "Runtime.callFunctionOn",
                                             CallOn(place.library, "play", values), INFINITE));
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

void MacroPage::Abandon()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_place.target.empty()) {
        m_tools.Post("", "Target.closeTarget", {{"targetId", m_place.target}});
    }
    m_place = {};
}

void MacroPage::Answer(const std::string& session, int question, const std::string& error,
                       const std::string& value)
{
    const Place place = Current();
    if (place.session == session) {
        m_tools.Post(session, "Runtime.callFunctionOn",
                     CallOn(place.library, "answered", {question, error, value}));
    }
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
    if (!place.session.empty()) {
        m_tools.Post(place.session, "Runtime.callFunctionOn",
                     CallOn(place.library, "heard", {method, parameters}));
    }
}

int MacroPage::LineOfSyntaxError(const Place& place, const std::string& source)
{
    // The compiler tells lines, the exception does not. Its lines count from 0, which makes up for
    // the one in front.
    const Json compiled = m_tools.Call(place.session, "Runtime.compileScript",
                                       {{"expression", "(async () => {\n" + source + "\n})"},
                                        {"sourceURL", "macro"},
                                        {"persistScript", false}});
    return compiled.contains("exceptionDetails")
               ? compiled["exceptionDetails"].value("lineNumber", 0)
               : 0;
}

}  // namespace browser
