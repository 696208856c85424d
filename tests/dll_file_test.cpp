// The built DLL as a file: what it says about the machine that built it.

#include <gtest/gtest.h>

#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

TEST(DllFile, NamesNoPathOfTheMachineThatBuiltIt)
{
    std::string root = TreeFolder().substr(2) + "/";
    ReplaceAll(root, "\\", "/");
    const std::string bytes = Contents(BuildFolder() + "\\talvern.dll");
    EXPECT_NE(bytes.find("pipeutils/Overlapped.cpp"), std::string::npos);
    const auto occurrences = [&bytes](const std::string& part) {
        std::string others = bytes;
        ReplaceAll(others, part, "");
        return (bytes.size() - others.size()) / part.size();
    };
    // A build that counts what runs, and only that one, names the files into which it counts.
    EXPECT_EQ(occurrences(root), occurrences(".gcda")) << root;
}

}  // namespace tvn::tests
