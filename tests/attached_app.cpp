#include "tests/attached_app.h"

#include "basicslib/StatusCode.h"

namespace tvn::tests
{
namespace
{

Script Joined(Step first, const Script& others)
{
    Script script = {std::move(first)};
    script.insert(script.end(), others.begin(), others.end());
    return script;
}

}  // namespace

Bytes WithoutId(Bytes request)
{
    request.erase(request.begin() + 8, request.begin() + 12);
    request.erase(request.begin(), request.begin() + 4);
    return request;
}

testing::Matcher<Bytes> AsksForExit(const std::string& key, const testing::Matcher<long long>& time)
{
    const auto timeOf = [](const Bytes& request) -> long long {
        return request.at(12) + (request.at(13) << 8) + (request.at(14) << 16);
    };
    const auto others = [](Bytes request) {
        request.erase(request.begin() + 12, request.begin() + 16);
        return WithoutId(request);
    };
    return testing::AllOf(testing::ResultOf(timeOf, time),
                          testing::ResultOf(others, WithoutId(Message(5, 0, key))));
}

AttachedApp::AttachedApp(const Script& instanceScript, const Script& serviceScript)
    : service("\\\\.\\pipe\\tvnRunner",
              Joined({Asks(9, "talvern.exe"), {Message(10, 0, 1, 1, 4711, "key", 0x80000001)}},
                     serviceScript)),
      instance("\\\\.\\pipe\\Talvern_-2147483647",
               Joined({Message(1, "tvnAuxAttachIfFree", ""), {Message(1, 1, "")}}, instanceScript))
{
    EXPECT_EQ(app.Init("-runner", false, 5), sOk);
}

}  // namespace tvn::tests
