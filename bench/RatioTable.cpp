// The program's main function, and the table beside Catch's own report. Benchmarks come in pairs:
// a baseline is measured just before what is compared with it.

#define CATCH_CONFIG_MAIN
#include <algorithm>
#include <catch2/catch.hpp>
#include <cstdio>

class RatioTable : public Catch::TestEventListenerBase
{
  public:
    using TestEventListenerBase::TestEventListenerBase;

    void testRunStarting(const Catch::TestRunInfo& /*info*/) override
    {
        std::printf("%-28s  %-27s  %s\n", "name", "baseline", "ratio");
    }

    void benchmarkEnded(const Catch::BenchmarkStats<>& stats) override
    {
        // The median, because a mean would also tell what else the machine did meanwhile.
        auto samples = stats.samples;
        const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
        std::nth_element(samples.begin(), middle, samples.end());
        if (m_baseline.empty()) {
            m_baseline = stats.info.name;
            m_baselineTime = middle->count();
        } else {
            std::printf("%-28s  %-27s  %.2f\n", stats.info.name.c_str(), m_baseline.c_str(),
                        middle->count() / m_baselineTime);
            m_baseline.clear();
        }
    }

  private:
    std::string m_baseline;
    double m_baselineTime = 0;
};

CATCH_REGISTER_LISTENER(RatioTable)
