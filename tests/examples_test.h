// Where the examples are, and what a file of the tree holds.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "tests/surroundings.h"

namespace tvn::tests
{

inline const std::string kExamples = TreeFolder() + "\\examples\\";

inline std::string Contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tvn::tests
