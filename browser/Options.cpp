#include "browser/Options.h"

#include <windows.h>

#include <shellapi.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <vector>

#include "basicslib/Log.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

/// The words of the command line, the last one first, as the library takes them. Those with a
/// single dash or a slash belong to others: the library would take them for this program's options.
std::vector<std::string> OwnWords()
{
    struct LocalDeleter
    {
        void operator()(wchar_t** memory) const { LocalFree(memory); }
    };
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalDeleter> words(
        CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> own;
    for (int index = count - 1; words && index > 0; --index) {
        const std::wstring word = words.get()[index];
        const bool isOther = word[0] == L'/' || (word[0] == L'-' && word[1] != L'-');
        if (!isOther) {
            own.push_back(ToUtf8(word));
        }
    }
    return own;
}

}  // namespace

Options ReadOptions()
{
    std::string browser;
    std::string arguments;
    std::string profile;
    Options options;
    CLI::App app("Talvern's own browser");
    app.allow_extras();
    app.set_help_flag();
    app.add_option("--browser", browser);
    app.add_option("--browser-arguments", arguments);
    app.add_option("--profile", profile);
    app.add_flag("--trace", options.trace);
    try {
        app.parse(OwnWords());
    } catch (const CLI::Error& error) {
        tvn::LogError("The command line cannot be read: %s", error.what());
    }
    options.browser = FromUtf8(browser);
    options.browserArguments = FromUtf8(arguments);
    options.profile = FromUtf8(profile);
    return options;
}

}  // namespace browser
