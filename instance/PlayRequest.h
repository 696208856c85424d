#pragma once

#include <string>
#include <vector>

namespace instance
{

/// What a play is asked to do, parsed from the argument of its command.
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
    /// does not have this form is left out.
    explicit PlayRequest(const std::wstring& argument);

    std::wstring macro;             ///< the macro itself or its name; the instance decides which
    std::vector<Setting> settings;  ///< in the order in which they were set

    /// Whether the words after the macro do not form pairs: the name of a setting contains a space,
    /// which names do not escape, and whatever follows it is ambiguous.
    bool hasBlankInName = false;
};

}  // namespace instance
