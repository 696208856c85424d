#include "tests/texts.h"

namespace tvn::tests
{

std::string Narrow(const ComString& text)
{
    return ToNarrow(ToView(text));
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

}  // namespace tvn::tests
