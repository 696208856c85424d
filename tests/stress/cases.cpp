#include "tests/stress/cases.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace tvn::tests
{

static std::uint64_t FromEnvironment(const char* name, std::uint64_t otherwise)
{
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

const std::uint64_t g_seed = FromEnvironment("TALVERN_SEED", 1);
const std::uint64_t g_onlyCase = FromEnvironment("TALVERN_CASE", UINT64_MAX);
static std::uint64_t g_case = 0;

static void PrintHowToRepeat()
{
    const auto& test = *testing::UnitTest::GetInstance()->current_test_info();
    std::printf("REPEAT tools/soak --seed %llu --case %llu %s.%s\n", g_seed, g_case,
                test.test_suite_name(), test.name());
    std::fflush(stdout);
}

static LONG WINAPI OnCrash(EXCEPTION_POINTERS* /*crash*/)
{
    PrintHowToRepeat();
    return EXCEPTION_CONTINUE_SEARCH;
}

std::uint64_t Scale()
{
    return FromEnvironment("TALVERN_SCALE", 1);
}

void ForEachCase(std::uint64_t count, const Case& test)
{
    SetUnhandledExceptionFilter(&OnCrash);
    std::uint64_t done = 0;
    for (g_case = 0; g_case < count; ++g_case) {
        if (g_onlyCase != UINT64_MAX && g_onlyCase != g_case) {
            continue;
        }
        std::seed_seq seeds = {g_seed, g_case};
        std::mt19937 random(seeds);
        test(g_case, random);
        ++done;
        if (testing::Test::HasFailure()) {
            PrintHowToRepeat();
            break;
        }
    }
    SetUnhandledExceptionFilter(nullptr);
    testing::Test::RecordProperty("cases", std::to_string(done));
}

}  // namespace tvn::tests
