#include "browser/Resources.h"

#include <windows.h>

#include "basicslib/Exceptions.h"

namespace browser
{

std::string ReadScript(Script script)
{
    HRSRC found = FindResourceW(nullptr, MAKEINTRESOURCEW(static_cast<int>(script)), RT_RCDATA);
    if (found == nullptr) {
        TVN_ASSERT(script == Script::kPuppeteer);
        return {};
    }
    HGLOBAL loaded = LoadResource(nullptr, found);
    return {static_cast<const char*>(LockResource(loaded)), SizeofResource(nullptr, found)};
}

}  // namespace browser
