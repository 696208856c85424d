// The own browser with a real one behind it: many rounds that leave nothing, and a browser that is
// stopped, killed, or without room on its disk.

#include <windows.h>

#include <functional>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/CaseCourse.h"
#include "soak/HostBrowsers.h"
#include "soak/ScriptingObject.h"
#include "soak/StandinBrowsers.h"
#include "soak/Stopwatch.h"

namespace soak
{
namespace
{

constexpr LONG kInitTime = 60;
constexpr LONG kExitTime = 30;
constexpr double kMostOver = 250;

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t character : text.substr(0, 200)) {
        narrow += character < 0x80 && character != L'|' ? static_cast<char>(character) : '?';
    }
    return narrow;
}

/// What is still there some time after the last end.
std::string Left()
{
    std::string left;
    for (int tries = 0; tries < 50; ++tries, Sleep(100)) {
        const std::size_t processes = HostBrowsers::Processes().size();
        const std::size_t folders = HostBrowsers::ProfileFolders().size();
        if (processes == 0 && folders == 0) {
            return {};
        }
        left = std::to_string(processes) + " processes, " + std::to_string(folders) +
               " profile folders";
    }
    return left;
}

std::string Round(ScriptingObject& object)
{
    const int init = object.Init("", true, kInitTime);
    if (init != tvn::sOk) {
        return "an init gave " + std::to_string(init) + " " + Narrow(object.Error());
    }
    HostBrowsers::Note();
    const int play = object.Play(L"extract('one', document.title.length + 2);", kInitTime);
    const std::wstring first = object.Extract(1);
    const int exit = object.Exit(kExitTime);
    if (play != tvn::sOk || first != L"one") {
        return "a play gave " + std::to_string(play) + " " + Narrow(object.Error());
    }
    return exit == tvn::sOk ? "" : "an exit gave " + std::to_string(exit);
}

/// What happens to the real browser, and what then came of a play, an init and an exit.
struct Mishap
{
    const char* name;
    std::function<void()> before;  ///< the init
    std::function<void()> during;  ///< between the init and the play
    std::function<void()> after;   ///< the exit
    bool mayWork;                  ///< a play that succeeds is right, too
};

void AddMishap(const Mishap& mishap, Table& table, Journal& journal)
{
    constexpr LONG kPlayTime = 5;
    ScriptingObject object;
    mishap.before();
    const int init = object.Init("", true, kInitTime);
    std::string text = Narrow(object.Error());
    std::string play = "-";
    std::string wrong;
    HostBrowsers::Note();
    if (init == tvn::sOk) {
        mishap.during();
        const Stopwatch watch;
        const int status =
            object.Play(L"await page.goto('data:text/html,<p>text'); extract('one');", kPlayTime);
        const double over = watch.Milliseconds() - 1000 * kPlayTime;
        play = std::to_string(status);
        text = Narrow(object.Error());
        if (status >= 0 && !(mishap.mayWork && object.Extract() == L"one")) {
            wrong = "the play gave " + play;
        } else if (over > kMostOver) {
            wrong = "the play came back late";
        }
    }
    if (init >= 0 && init != tvn::sOk) {
        wrong = "the init gave " + std::to_string(init);
    }
    object.Exit(kExitTime);
    mishap.after();
    // An own browser that was ended by force leaves what it had to the next one, which clears it
    // away.
    const std::string left = Left();
    if (wrong.empty()) {
        wrong = Round(object);
    }
    const std::string leftLater = Left();
    if (wrong.empty() && !leftLater.empty()) {
        wrong = "after another round there are " + leftLater;
    }
    journal.Count(1, wrong.empty() ? 1 : 0);
    if (!wrong.empty()) {
        journal.Fault(std::string("a browser that is ") + mishap.name + ": " + wrong);
    }
    table.push_back(
        {mishap.name, std::to_string(init), play, text, left.empty() ? "nothing" : left});
}

/// A folder for temporary files that is full, which tools/soak has made; empty if it could not.
std::string FullFolder()
{
    char folder[MAX_PATH] = "";
    return GetEnvironmentVariableA("TALVERN_SOAK_FULL_FOLDER", folder, MAX_PATH) < MAX_PATH ? folder
                                                                                            : "";
}

}  // namespace

void RunBrowser(const Settings& settings, Journal& journal)
{
    if (!HostBrowsers::AreVisible()) {
        journal.AddTable("The own browser", {{"not tried here"}});
        return;
    }
    EndBrowsers();
    ScriptingObject object;
    std::uint64_t survived = 0;
    CaseCourse course(settings, journal, settings.full ? 500 : 25, 2);
    for (; course.Goes(); course.Next()) {
        Journal::NoteCase("--case", course.Number());
        const std::string wrong = Round(object);
        survived += wrong.empty() ? 1U : 0U;
        if (!wrong.empty()) {
            journal.Fault(wrong);
        }
    }
    const std::string left = Left();
    if (!left.empty()) {
        journal.Fault("after all rounds there are " + left);
    }
    journal.Count(course.Number(), survived);
    journal.AddTable("The own browser: init, play, exit",
                     {{"rounds", "as they should be", "left"},
                      {std::to_string(course.Number()), std::to_string(survived),
                       left.empty() ? "nothing" : left}});

    const auto nothing = [] {
    };
    const auto signal = [](const char* name) {
        return [name] {
            HostBrowsers::Signal(name);
        };
    };
    Table table = {
        {"the real browser is", "tvnInit", "tvnPlay", "text", "left until the next start"}};
    AddMishap({"stopped", nothing, signal("STOP"), signal("CONT"), false}, table, journal);
    AddMishap({"killed", nothing, signal("KILL"), nothing, false}, table, journal);
    const std::string full = FullFolder();
    if (!full.empty()) {
        char usual[MAX_PATH] = "";
        GetEnvironmentVariableA("TMP", usual, MAX_PATH);
        AddMishap(
            {"without room on its disk", [&] { SetEnvironmentVariableA("TMP", full.c_str()); },
             nothing, [&] { SetEnvironmentVariableA("TMP", usual); }, true},
            table, journal);
    }
    journal.AddTable("What happens to the real browser, and what comes of it", table);
}

}  // namespace soak
