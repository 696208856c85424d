// The operations of `page`, played from the files of the folder macros/.

#include "tests/browser/real_browser.h"

namespace tvn::tests
{

class BrowserOperations : public RealBrowser, public testing::WithParamInterface<const char*>
{};

TEST_P(BrowserOperations, SayWhatStandsBelowThem)
{
    Begin();
    const std::string file = GetParam();
    if (file == "library" &&
        Plays("await puppeteer()").find("without the library") != std::string::npos) {
        GTEST_SKIP() << "NOT TESTED: talvern.exe was built without the page library";
    }
    PlaysAll(file + ".js");
}

INSTANTIATE_TEST_SUITE_P(Macros, BrowserOperations,
                         testing::Values("ends", "everyday", "fields", "frames", "library",
                                         "operations", "texts", "visits"),
                         [](const auto& one) { return std::string(one.param); });

}  // namespace tvn::tests
