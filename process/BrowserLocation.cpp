#include "process/BrowserLocation.h"

#include <windows.h>

#include <objbase.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/FormatText.h"
#include "process/FirefoxVersions.h"
#include "process/RegistryReading.h"

namespace tvn
{

ComString GetPathBasic()
{
    return ReadProductSetting("PathBasic");
}

ComString ReadProductSetting(const char* valueName)
{
    const RegistryKey key = OpenRegistryKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Talvern");
    return ToComString(key ? ReadRegString(key.get(), valueName) : std::string());
}

ComString GetInternetExplorerPath()
{
    const ComString nothing = ToComString("");
    CLSID clsid = {};
    LPOLESTR clsidText = nullptr;
    if (FAILED(CLSIDFromProgID(L"InternetExplorer.Application", &clsid)) ||
        FAILED(StringFromCLSID(clsid, &clsidText))) {
        return nothing;
    }
    char keyPath[128];
    FormatText(keyPath, sizeof keyPath, "CLSID\\%S\\LocalServer32", clsidText);
    CoTaskMemFree(clsidText);
    const RegistryKey key = OpenRegistryKey(HKEY_CLASSES_ROOT, keyPath);
    return key ? ToComString(StripQuotes(ExpandEnvironment(ReadRegString(key.get(), ""))))
               : nothing;
}

ComString GetFirefoxPath(const std::string& version, const std::string& locale)
{
    boost::shared_ptr<FirefoxVersion> best;
    for (const auto& candidate : EnumFirefoxVersions()) {
        if (!locale.empty() && CompareMultibyte(candidate->locale, locale) != 0) {
            continue;
        }
        if (!version.empty()) {
            if (CompareMultibyte(candidate->version, version) == 0) {
                return ToComString(candidate->pathToExe);
            }
        } else if (!best || CompareMultibyte(candidate->version, best->version) > 0) {
            best = candidate;
        }
    }
    return ToComString(best ? best->pathToExe : std::string());
}

}  // namespace tvn
