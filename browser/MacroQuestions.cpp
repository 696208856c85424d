#include "browser/MacroQuestions.h"

#include <filesystem>

#include "basicslib/Log.h"
#include "browser/BrowserError.h"
#include "browser/FileNames.h"
#include "browser/Resources.h"
#include "browser/Screenshot.h"
#include "browser/Utf8.h"

namespace browser
{

void MacroQuestions::Take(const std::string& session, const std::string& text)
{
    const Json question = Json::parse(text, nullptr, false);
    if (!m_macroPage.Owns(session) || !question.is_object()) {
        return;
    }
    const std::string what = question.value("what", "");
    if (what == "trace") {
        tvn::LogDebug("macro, %s", question.value("text", "").c_str());
        return;
    }
    if (what == "dialogs") {
        m_chromium.OpenPages().LeaveDialogs(question.value("macro", false));
        return;
    }
    m_workers.Run([=, this] {
        const int id = question.value("id", 0);  // 0 when no answer is expected
        try {
            const Json answer = Answer(session, question);
            if (id != 0) {
                m_macroPage.Answer(session, id, "", answer);
            }
        } catch (const std::exception& error) {
            m_macroPage.Answer(session, id, error.what(), nullptr);
        }
    });
}

Json MacroQuestions::Answer(const std::string& session, const Json& question)
{
    const std::string what = question.value("what", "");
    if (what == "screenshot") {
        return ToUtf8(SaveScreenshot(m_chromium.Tools(), m_chromium.OpenPages().Visible().session,
                                     FromUtf8(question.value("path", "")),
                                     question.value("fullPage", false)));
    }
    if (what == "use") {
        if (!m_macroPage.Use(question.value("target", ""))) {
            throw BrowserError("the page was closed");
        }
        return nullptr;
    }
    if (what == "files") {
        return FilesForBrowser(question.value("paths", Json::array()));
    }
    if (what == "command") {
        return RunCommand(question.value("method", ""), question.value("params", Json::object()));
    }
    if (what == "library") {
        const std::string source = ReadScript(Script::kPuppeteer);
        if (source.empty()) {
            throw BrowserError("This talvern.exe was built without the library puppeteer-core.");
        }
        m_macroPage.Load(session, source);
        return nullptr;
    }
    throw BrowserError("The macro page asks for what this program does not know: " +
                       question.dump(-1, ' ', true));
}

Json MacroQuestions::FilesForBrowser(const Json& paths) const
{
    Json files = Json::array();
    for (const Json& path : paths) {
        const std::wstring file = FromUtf8(path.get<std::string>());
        if (!std::filesystem::path(file).is_absolute() || !IsFile(file)) {
            throw BrowserError("there is no file \"" + path.get<std::string>() +
                               "\"; a whole path is needed");
        }
        files.push_back(m_chromium.PathForBrowser(file));
    }
    return files;
}

Json MacroQuestions::RunCommand(const std::string& method, const Json& parameters)
{
    // The browser is not the macro's to end: its client ends it.
    const bool ends = method == "Browser.close" || method.starts_with("Browser.crash");
    return (ends ? Json::object() : m_chromium.Tools().Call("", method, parameters)).dump();
}

}  // namespace browser
