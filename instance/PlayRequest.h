#pragma once

#include <string>
#include <vector>

namespace instance
{

/// What a play is asked to do, taken out of the argument of its command.
struct PlayRequest
{
    /// A variable that the script set, or any other switch of the macro line.
    struct Setting
    {
        bool isVariable;
        std::wstring name;  ///< without "-var_" or "-"
        std::wstring value;
    };

    /// Reads " -macro NAME -var_a 1 -b 2", encoded as in basicslib/InstanceProtocol.h. Whatever
    /// does not look like that is left out.
    explicit PlayRequest(const std::wstring& argument);

    std::wstring macro;             ///< the macro itself or its name; which, the instance tells
    std::vector<Setting> settings;  ///< in the order in which they were set

    /// Whether the words behind the macro are no pairs: the name of a setting holds a blank, which
    /// nothing stands for, and whatever comes behind it cannot be told apart.
    bool hasBlankInName = false;
};

}  // namespace instance
