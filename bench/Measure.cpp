#include "bench/Measure.h"

#include <algorithm>
#include <stdexcept>

#include "basicslib/StatusCode.h"

namespace bench
{

Spread SpreadOf(std::vector<double> values)
{
    if (values.empty()) {
        return {};
    }
    std::sort(values.begin(), values.end());
    const auto at = [&values](double share) {
        return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
    };
    return {at(0.05), at(0.25), at(0.5), at(0.75), at(0.95)};
}

Comparison Compare(std::string name, std::string baselineName, std::string unit, const Pairs& pairs,
                   Goal relation, double goal)
{
    Comparison result;
    result.name = std::move(name);
    result.baselineName = std::move(baselineName);
    result.unit = std::move(unit);
    result.ours = SpreadOf(pairs.ours);
    result.baseline = SpreadOf(pairs.baseline);
    result.ratio = result.ours.median / result.baseline.median;
    std::vector<double> ratios;
    std::transform(pairs.ours.begin(), pairs.ours.end(), pairs.baseline.begin(),
                   std::back_inserter(ratios),
                   [](double ours, double base) { return ours / base; });
    result.ratios = SpreadOf(std::move(ratios));
    result.relation = relation;
    result.goal = goal;
    result.rounds = pairs.ours.size();
    return result;
}

void Require(bool condition, const char* what)
{
    if (!condition) {
        throw std::runtime_error(what);
    }
}

void RequireOk(int status)
{
    Require(status == tvn::sOk, "a method of the scripting object fails");
}

}  // namespace bench
