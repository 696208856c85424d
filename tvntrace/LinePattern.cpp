#include "tvntrace/LinePattern.h"

namespace tvn::trace
{

bool MatchLine(std::string_view pattern, std::string_view text,
               std::vector<std::string_view>& captures)
{
    captures.clear();
    std::size_t star = pattern.find('*');
    if (star == std::string_view::npos) {
        return text == pattern;
    }
    if (text.substr(0, star) != pattern.substr(0, star)) {
        return false;
    }
    text.remove_prefix(star);
    while (star != std::string_view::npos) {
        pattern.remove_prefix(star + 1);
        star = pattern.find('*');
        const std::string_view plain = pattern.substr(0, star);
        const std::size_t found = star != std::string_view::npos ? text.find(plain)
                                  : text.ends_with(plain)        ? text.size() - plain.size()
                                                                 : std::string_view::npos;
        if (found == std::string_view::npos) {
            return false;
        }
        captures.push_back(text.substr(0, found));
        text.remove_prefix(found + plain.size());
    }
    return true;
}

}  // namespace tvn::trace
