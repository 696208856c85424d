// Texts of the product as tests compare and change them.
#pragma once

#include <string>

#include "basicslib/ComString.h"

namespace tvn::tests
{

/// A text that was left out.
inline const ComString kNone;

std::string Narrow(const ComString& text);
void ReplaceAll(std::string& text, const std::string& from, const std::string& to);

}  // namespace tvn::tests
