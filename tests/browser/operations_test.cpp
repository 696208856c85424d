// The operations of `page`, played from the files of the folder macros/.

#include "tests/browser/real_browser.h"

namespace tvn::tests
{

class BrowserOperations : public RealBrowser, public testing::WithParamInterface<const char*>
{};

TEST_P(BrowserOperations, SayWhatStandsBelowThem)
{
    Begin();
    PlaysAll(CasesOf(GetParam() + std::string(".js")));
}

INSTANTIATE_TEST_SUITE_P(Macros, BrowserOperations,
                         testing::Values("ends", "everyday", "fields", "frames", "operations",
                                         "visits"),
                         [](const auto& one) { return std::string(one.param); });

}  // namespace tvn::tests
