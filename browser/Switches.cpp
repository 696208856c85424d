#include "browser/Switches.h"

#include <string_view>

namespace browser
{
namespace
{

struct Switch
{
    const wchar_t* text;
    const char* reason;
};

/// What the browser is started with on every machine.
constexpr Switch kSwitches[] = {
    {L"--no-first-run", "no dialogs of a first run"},
    {L"--no-default-browser-check", "no question whether it is to be the default"},
    {L"--disable-search-engine-choice-screen", "no question for a search engine"},
    {L"--disable-prompt-on-repost", "a reload of a sent form asks nobody"},
    {L"--disable-session-crashed-bubble", "no offer to bring back what was open"},
    {L"--hide-crash-restore-bubble", "the same, by its other name"},
    {L"--disable-hang-monitor", "no offer to end a page whose script takes its time"},
    {L"--password-store=basic", "no question for the password of a Linux key ring"},
    {L"--do-not-de-elevate", "as an administrator, Chrome would start itself again without us"},
    {L"--disable-background-networking", "no traffic that no macro asked for"},
    {L"--disable-component-update", "the same: a profile lives too short for updates"},
    {L"--disable-sync", "the same: no account takes part"},
    {L"--disable-default-apps", "no apps are installed into a fresh profile"},
    {L"--metrics-recording-only", "nothing is reported to the maker"},
    {L"--disable-background-timer-throttling", "a page is as quick when nobody looks at it"},
    {L"--disable-renderer-backgrounding", "the same, for its process"},
    {L"--disable-backgrounding-occluded-windows", "the same, behind another window"},
};

/// Features that are off: a page that comes back from the cache without its load events, pages that
/// stop when their window is covered, a bar that covers the page to offer a translation, a look for
/// television sets in the network, downloads of hints, and a pause after each click until the next
/// frame, in which the page does not do what the click has asked for.
constexpr std::wstring_view kDisabledFeatures =
    L"BackForwardCache,CalculateNativeWinOcclusion,Translate,DialMediaRouteProvider,"
    L"OptimizationHints,DeferRendererTasksAfterInput";

/// A browser uses only the last such list, so there must be one for all features.
std::wstring WithDisabledFeatures(std::wstring arguments)
{
    constexpr std::wstring_view kSwitch = L"--disable-features=";
    const std::size_t given = arguments.rfind(kSwitch);
    if (given == std::wstring::npos) {
        arguments.insert(0, std::wstring(kSwitch) + std::wstring(kDisabledFeatures) + L" ");
    } else {
        arguments.insert(given + kSwitch.size(), std::wstring(kDisabledFeatures) + L",");
    }
    return arguments;
}

}  // namespace

std::wstring BrowserCommandLine(const BrowserChoice& choice, const std::wstring& profile,
                                const std::wstring& connection)
{
    std::wstring line = L"\"" + choice.program + L"\" " + connection;
    for (const Switch& one : kSwitches) {
        line += std::wstring(L" ") + one.text;
    }
    line += L" \"--user-data-dir=" + profile + L"\" ";
    return line + WithDisabledFeatures(choice.arguments) + L" about:blank";
}

}  // namespace browser
