// Measures one row of the report and prints it, a line for each comparison, its fields divided by
// tabs. `tools/bench` runs this program for each row in a process of its own.

#include <objbase.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "bench/Rows.h"

namespace
{

struct Row
{
    const char* name;
    bench::Comparisons (*measure)(const bench::Settings&);
};

constexpr Row kRows[] = {
    {"play", &bench::MeasurePlay},         {"driver", &bench::MeasureDriver},
    {"dispatch", &bench::MeasureDispatch}, {"reply", &bench::MeasureReply},
    {"memory", &bench::MeasureMemory},     {"search", &bench::MeasureSearch},
    {"start", &bench::MeasureStart},       {"threads", &bench::MeasureThreads},
    {"browser", &bench::MeasureBrowser},
};

void Print(const bench::Spread& spread)
{
    std::printf("\t%.6g\t%.6g\t%.6g\t%.6g\t%.6g", spread.p5, spread.q1, spread.median, spread.q3,
                spread.p95);
}

void Print(const bench::Comparison& line)
{
    const char* const relation = line.relation == bench::Goal::kNoMore   ? "most"
                                 : line.relation == bench::Goal::kNoLess ? "least"
                                                                         : "none";
    std::printf("%s\t%s\t%s", line.name.c_str(), line.baselineName.c_str(), line.unit.c_str());
    Print(line.ours);
    Print(line.baseline);
    std::printf("\t%.4f\t%.4f\t%.4f\t%s\t%g\t%u\n", line.ratio, line.ratios.q1, line.ratios.q3,
                relation, line.goal, static_cast<unsigned int>(line.rounds));
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fputs("usage: talvern_bench ROW SECONDS [PORT [FLAGS [PAGE]]]\n", stderr);
        return 2;
    }
    const auto argument = [&](int index) {
        return index < argc ? argv[index] : "";
    };
    bench::Settings settings;
    settings.seconds = std::strtod(argument(2), nullptr);
    settings.port = static_cast<unsigned short>(std::strtoul(argument(3), nullptr, 10));
    settings.browserFlags = argument(4);
    settings.page = argument(5);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    for (const Row& row : kRows) {
        if (std::strcmp(row.name, argv[1]) != 0) {
            continue;
        }
        try {
            for (const bench::Comparison& line : row.measure(settings)) {
                Print(line);
            }
            return 0;
        } catch (const std::exception& exception) {
            std::fprintf(stderr, "error: %s: %s\n", row.name, exception.what());
            return 1;
        }
    }
    std::fprintf(stderr, "error: there is no row '%s'\n", argv[1]);
    return 2;
}
