// What an instance is told in texts: its command line, and the argument of a play.

#include <gmock/gmock.h>

#include <string>
#include <utility>

#include "basicslib/ComString.h"
#include "instance/InstanceArguments.h"
#include "instance/PlayRequest.h"

namespace tvn::tests
{

TEST(Instance, TakesItsArgumentsAsTheClientMeansThem)
{
    const std::string ids = " /pipeUuid=P /creatorUuid=C";
    const std::string url = "&pipeUuid=P&creatorUuid=C \"";
    const std::pair<std::string, std::string> cases[] = {
        {"C:\\a b\\talvern.exe " + ids, "P C"},
        {"", " "},
        {" /pipeUuid=Q /creatorUuid=D x" + ids, "P C"},
        {" -authorizeAll" + ids, "P C all"},
        {"-AuthorizeALL" + ids, "P C all"},  // no program in front of it
        {" \"-authorizeAll\"" + ids, "P C all"},
        {" -authorizeAllOfThem" + ids, "P C"},
        {" \"a -authorizeAll b\"" + ids, "P C"},
        {" -runner \"open -authorizeAll" + ids, "P C all"},
        {" -home http://page/?authorizeAll=true&" + ids, "P C"},
        {" -new-window \"about:blank?authorizeAll=true" + url, "P C all"},
        {" -new-window \"about:blank?authorizeAll=false" + url, "P C"},
        {" \"file:///C:\\?authorizeAll=true&\\page?authorizeAll=false" + url, "P C"},
    };
    for (const auto& [line, expected] : cases) {
        const instance::InstanceArguments arguments{std::wstring(line.begin(), line.end())};
        EXPECT_EQ(ToNarrow(arguments.pipeUuid + L" " + arguments.creatorUuid) +
                      (arguments.authorizeAll ? " all" : ""),
                  expected)
            << line;
    }
}

TEST(Instance, TakesAPlayApartToTheLetter)
{
    const instance::PlayRequest request(L" -macro a[SP]b  -var_city New[SP]York -b  c 3");
    std::wstring text = request.macro;
    for (const auto& setting : request.settings) {
        text += (setting.isVariable ? L"|var " : L"|") + setting.name + L"=" + setting.value;
    }
    EXPECT_EQ(text, L"a b|var city=New York|b=|c=3");
}

}  // namespace tvn::tests
