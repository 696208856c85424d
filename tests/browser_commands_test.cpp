// The options of a start, and what each kind of browser is started with.

#include "Interface/BrowserCommands.h"

#include <gtest/gtest.h>

#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

static std::string Gathered(const InitOptions& options)
{
    return Narrow(BrowserExeName(options.browserKind)) + "|" + Narrow(options.fxVersion) + "|" +
           Narrow(options.fxLocale) + (options.authorizeAll ? "|all" : "") +
           (options.useRunner ? "|runner" : "");
}

static std::string Line(const InitOptions& options)
{
    return Narrow(BuildBrowserCmdLine(options, L" -x \"a b\"", L"P", L"C"));
}

TEST(BrowserCommands, OptionsAreTakenInOrderAndTheRestIsLeft)
{
    const std::pair<const wchar_t*, std::string> cases[] = {
        {L"", "talvern.exe||"},
        {L"-IE", "iexplore.exe||"},
        {L"-ie -fx", "firefox.exe||"},
        {L"-fx -fxversion 3.6 -fxLocale \"de DE\"", "firefox.exe|3.6|de DE"},
        {L"-fxVersion -ie", "talvern.exe|-ie|"},
        {L"-fxVersion 1 -fxVersion", "talvern.exe|1|"},
        {L"-runner", "talvern.exe|||all|runner"},
        {L"-authorizeAll other", "talvern.exe|||all"},
        {L"\"-ie -fx\" /ie -iex", "talvern.exe||"},
        {L"\"-ie", "iexplore.exe||"},
    };
    for (const auto& [text, gathered] : cases) {
        InitOptions options;
        ParseCommandLine(text, options);
        EXPECT_EQ(Gathered(options), gathered) << text;
    }
    // What an earlier text has set stays.
    InitOptions options;
    ParseCommandLine(L"-fx -fxVersion 3.6", options);
    ParseCommandLine(L"-runner", options);
    EXPECT_EQ(Gathered(options), "firefox.exe|3.6||all|runner");
}

TEST(BrowserCommands, EachKindIsToldItsIdentifiersInItsOwnWay)
{
    SetRegistryValue(kProductKey, "PathBasic", "C:\\basic");
    InitOptions options;
    EXPECT_EQ(Narrow(BrowserPath(options)), "C:\\basic\\talvern.exe");
    EXPECT_EQ(Line(options), " -x \"a b\" /pipeUuid=P /creatorUuid=C");
    options.useRunner = true;
    EXPECT_EQ(Line(options), " -x \"a b\" -authorizeAll /pipeUuid=P /creatorUuid=C");
    options.browserKind = Firefox;
    EXPECT_EQ(Line(options),
              " -new-window \"about:blank?authorizeAll=false&pipeUuid=P&creatorUuid=C \"");
    options.browserKind = InternetExplorer;
    options.authorizeAll = true;
    EXPECT_EQ(Line(options),
              " \"file:///C:\\basic\\Welcome_plugin.htm?authorizeAll=true&pipeUuid="
              "P&creatorUuid=C \"");
    options.browserKind = static_cast<BrowserKind>(3);
    EXPECT_EQ(Narrow(BrowserExeName(options.browserKind)) + Line(options), "");
    EXPECT_EQ(static_cast<const wchar_t*>(BrowserPath(options)), nullptr);
    SetRegistryValue(kProductKey, "PathBasic", StandinFolder());
}

}  // namespace tvn::tests
