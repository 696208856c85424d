// The built DLL as a file: what its version says, and what it says about the machine that built it.

#include <windows.h>

#include <gtest/gtest.h>

#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

const std::string kDll = BuildFolder() + "\\talvern.dll";

TEST(DllFile, NamesNoPathOfTheMachineThatBuiltIt)
{
    std::string root = TreeFolder().substr(2) + "/";
    ReplaceAll(root, "\\", "/");
    const std::string bytes = Contents(kDll);
    EXPECT_NE(bytes.find("pipeutils/Overlapped.cpp"), std::string::npos);
    const auto occurrences = [&bytes](const std::string& part) {
        std::string others = bytes;
        ReplaceAll(others, part, "");
        return (bytes.size() - others.size()) / part.size();
    };
    // A build that counts what runs, and only that one, names the files into which it counts.
    EXPECT_EQ(occurrences(root), occurrences(".gcda")) << root;
}

TEST(DllFile, NamesTheProductInItsVersion)
{
    std::vector<char> data(GetFileVersionInfoSizeA(kDll.c_str(), nullptr));
    const auto size = static_cast<DWORD>(data.size());
    ASSERT_TRUE(GetFileVersionInfoA(kDll.c_str(), 0, size, data.data()));
    const auto value = [&](const char* name) {
        void* found = nullptr;
        UINT length = 0;
        EXPECT_TRUE(VerQueryValueA(data.data(), name, &found, &length)) << name;
        return static_cast<char*>(found);
    };
    EXPECT_STREQ(value("\\StringFileInfo\\040904B0\\ProductName"), "Talvern");
    EXPECT_STREQ(value("\\StringFileInfo\\040904B0\\FileDescription"),
                 "Talvern Scripting Interface");
    const auto* fixed = reinterpret_cast<VS_FIXEDFILEINFO*>(value("\\"));
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00060003U);
    EXPECT_EQ(fixed->dwFileVersionLS, 216U);
}

}  // namespace tvn::tests
