#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace bench
{

/// How measurements scatter: the 5th, 25th, 50th, 75th and 95th percentile.
struct Spread
{
    double p5 = 0;
    double q1 = 0;
    double median = 0;
    double q3 = 0;
    double p95 = 0;
};

Spread SpreadOf(std::vector<double> values);

/// What was measured on both sides, in the unit of the comparison. Entries with the same index come
/// from the same round.
struct Pairs
{
    std::vector<double> ours;
    std::vector<double> baseline;
};

/// Whether a ratio has to be at most or at least its goal.
enum class Goal {
    kNone,
    kNoMore,
    kNoLess,
};

/// One line of a table: this code beside the least that could do the same work.
struct Comparison
{
    std::string name;
    std::string baselineName;
    std::string unit;
    Spread ours;
    Spread baseline;
    double ratio = 0;  ///< of the medians, ours over the baseline
    Spread ratios;     ///< of the rounds
    Goal relation = Goal::kNone;
    double goal = 0;
    std::size_t rounds = 0;
};

Comparison Compare(std::string name, std::string baselineName, std::string unit, const Pairs& pairs,
                   Goal relation, double goal);

/// Throws std::runtime_error with `what` unless `condition` holds: a measurement of something that
/// failed must not be reported.
void Require(bool condition, const char* what);

/// The same for a method of the scripting object, unless its status is `sOk`.
void RequireOk(int status);

/// Seconds that `work` takes.
template <class Work>
double Seconds(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Runs both for about `seconds`, and `fewest` rounds or more, one just after the other and taking
/// turns in being the first, so that other load on the machine affects both alike. Each returns
/// what it has measured. A few warm-up rounds are not counted.
template <class Ours, class Baseline>
Pairs Interleave(double seconds, std::size_t fewest, Ours ours, Baseline baseline)
{
    const std::size_t warmUp = fewest < 10 ? 1 : fewest / 10;
    Pairs pairs;
    double spent = 0;
    for (std::size_t round = 0; round < warmUp + fewest || spent < seconds; ++round) {
        double first = 0;
        double second = 0;
        spent += Seconds([&] {
            if (round % 2 == 0) {
                first = ours();
                second = baseline();
            } else {
                second = baseline();
                first = ours();
            }
        });
        if (round >= warmUp) {
            pairs.ours.push_back(first);
            pairs.baseline.push_back(second);
        }
    }
    return pairs;
}

/// The same for two pieces of work whose time is measured, in units of `unit` seconds.
template <class Ours, class Baseline>
Pairs InterleaveTimes(double seconds, std::size_t fewest, double unit, Ours ours, Baseline baseline)
{
    return Interleave(
        seconds, fewest, [&] { return Seconds(ours) / unit; },
        [&] { return Seconds(baseline) / unit; });
}

inline constexpr double kMicrosecond = 1e-6;
inline constexpr double kMillisecond = 1e-3;

}  // namespace bench
