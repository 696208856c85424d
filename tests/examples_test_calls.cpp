// Every call in the examples, and every signature in the reference, is held against the type
// library of the DLL: those in languages that cannot be run here too.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/surroundings.h"
#include "tests/type_library.h"

namespace tvn::tests
{
namespace
{

bool IsOptional(const Method::Parameter& parameter)
{
    return (parameter.flags & PARAMFLAG_FOPT) != 0;
}

/// As the reference shows a method.
std::string Signature(const Method& method)
{
    std::string text;
    for (const Method::Parameter& each : method.parameters) {
        std::string byDefault = " = " + std::to_string(each.byDefault);
        if (each.defaultType == VT_BOOL) {
            byDefault = each.byDefault != 0 ? " = True" : " = False";
        } else if (each.defaultType == VT_EMPTY) {
            byDefault.clear();
        }
        text += (text.empty() ? "" : ", ") +
                (IsOptional(each) ? "[" + each.name + byDefault + "]" : each.name);
    }
    return method.name + "(" + text + ")";
}

/// By their names, without their results.
std::map<std::string, Method> ReadTypeLibrary()
{
    std::map<std::string, Method> methods;
    for (Method& method : MethodsOfTheDll()) {
        std::erase_if(method.parameters, [](const Method::Parameter& each) {
            return (each.flags & PARAMFLAG_FRETVAL) != 0;
        });
        methods[method.name] = method;
    }
    return methods;
}

/// The arguments of the call whose first character behind the method's name is at `at`.
std::vector<std::string> ArgumentsAt(const std::string& text, std::size_t at)
{
    const bool inParentheses = text[at] == '(';
    std::vector<std::string> arguments;
    std::string argument;
    char quote = 0;
    for (int depth = inParentheses ? 0 : 1; at < text.size(); ++at) {
        const char c = text[at];
        depth += quote == 0 ? (c == '(') - (c == ')') : 0;
        const bool ends = depth == 0 || (c == '\n' && !inParentheses);
        if (quote == 0 && (ends || (depth == 1 && c == ','))) {
            arguments.push_back(argument);
            argument.clear();
            if (ends) {
                break;
            }
        } else if (depth > 1 || c != '(' || !argument.empty()) {
            argument += c == ' ' && argument.empty() ? "" : std::string(1, c);
        }
        quote = c == quote ? '\0' : quote == 0 && (c == '"' || c == '\'') ? c : quote;
    }
    if (arguments.size() == 1 && arguments[0].empty()) {
        arguments.clear();
    }
    return arguments;
}

/// Whether what stands in a call, if it is a constant, is of a parameter's type.
bool Fits(const std::string& argument, VARTYPE type)
{
    static const std::regex kNumber("-?\\d+");
    static const std::regex kTruth("\\$?(true|false)", std::regex::icase);
    const bool isText = !argument.empty() && (argument[0] == '"' || argument[0] == '\'');
    if (isText) {
        return type == VT_BSTR || type == VT_VARIANT;
    }
    if (std::regex_match(argument, kNumber)) {
        return type == VT_I4 || type == VT_VARIANT;
    }
    return !std::regex_match(argument, kTruth) || type == VT_BOOL;
}

void CheckCall(const Method& method, const std::vector<std::string>& arguments,
               const std::string& where)
{
    static const std::regex kNamed("(\\w+) ?(:=|:|=)(?!=) ?([^]*)");
    std::set<std::string> given;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        std::smatch named;
        const bool isNamed = std::regex_match(arguments[index], named, kNamed);
        const auto& all = method.parameters;
        const auto hasName = [&](const auto& p) {
            return p.name == named[1];
        };
        const auto parameter =
            isNamed ? std::find_if(all.begin(), all.end(), hasName)
                    : all.begin() + static_cast<std::ptrdiff_t>(std::min(index, all.size()));
        ASSERT_NE(parameter, all.end()) << where << ": " << arguments[index];
        EXPECT_TRUE(given.insert(parameter->name).second) << where;
        EXPECT_TRUE(Fits(isNamed ? named[3].str() : arguments[index], parameter->type))
            << where << ": " << arguments[index];
    }
    for (const auto& parameter : method.parameters) {
        EXPECT_TRUE(IsOptional(parameter) || given.count(parameter.name) == 1)
            << where << ": " << parameter.name;
    }
}

}  // namespace

TEST(Examples, CallOnlyWhatTheTypeLibraryHas)
{
    const std::map<std::string, Method> methods = ReadTypeLibrary();
    EXPECT_EQ(methods.size(), 8U);
    const std::regex mentioned("(\\.|->|::)?(tvn(?!Aux|Method|Runner)[A-Z]\\w*)( ?)([^]?)");
    std::size_t calls = 0;
    for (const char* name :
         {"play.bas", "play.ps1", "play.py", "play.cs", "cpp\\TalvernClient.h", "play.vbs",
          "play.js", "table_to_csv.vbs", "list_with_retry.vbs", "two_browsers.vbs", "demo.vbs",
          "attach.vbs", "hotels.vbs", "..\\README.md", "..\\docs\\first-macro.md",
          "..\\docs\\macros.md", "..\\docs\\scripting-reference.md", "..\\docs\\cheat-sheet.md"}) {
        const std::string text = Contents(Examples() + name);
        for (std::sregex_iterator at(text.begin(), text.end(), mentioned), end; at != end; ++at) {
            const auto method = methods.find((*at)[2]);
            ASSERT_NE(method, methods.end()) << name << ": " << at->str();
            const auto behind = static_cast<std::size_t>(at->position(4));
            if ((*at)[1] == ".") {
                const std::string where = name + std::string(": ") + at->str();
                CheckCall(method->second, ArgumentsAt(text, behind), where);
                ++calls;
            } else if (!(*at)[1].matched && (*at)[4] == "(" && (*at)[3].length() == 0) {
                std::string signature = text.substr(static_cast<std::size_t>(at->position(2)));
                signature.resize(signature.find(')') + 1);
                const std::string shown =
                    std::regex_replace(signature, std::regex("\\s+(///)?\\s*"), " ");
                EXPECT_EQ(shown, Signature(method->second)) << name;
            }
        }
    }
    EXPECT_GT(calls, 80U);
}

}  // namespace tvn::tests
