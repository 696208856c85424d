// A line about a macro of many megabytes must cost what any full line costs.

#include <catch2/catch.hpp>

#include "basicslib/FormatText.h"
#include "basicslib/Log.h"

TEST_CASE("a line is written")
{
    const std::size_t characters = GENERATE(20U, 1024U);
    const std::string count = std::to_string(characters) + " characters";
    const std::wstring text(characters, L'x');
    const std::wstring macro(std::size_t{8} * 1024 * 1024, L'x');
    char line[1024];
    BENCHMARK("FormatText, " + count)
    {
        return tvn::FormatText(line, sizeof line, "cmd = %S", text.c_str());
    };
    BENCHMARK("FormatText, 16 MiB")
    {
        return tvn::FormatText(line, sizeof line, "cmd = %S", macro.c_str());
    };
    BENCHMARK("LogDebug, " + count)
    {
        tvn::LogDebug("cmd = %S", text.c_str());
    };
    BENCHMARK("LogDebug, 16 MiB")
    {
        tvn::LogDebug("cmd = %S", macro.c_str());
    };
}
