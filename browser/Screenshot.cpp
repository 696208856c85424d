#include "browser/Screenshot.h"

#include <windows.h>

#include <wincrypt.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "browser/BrowserError.h"
#include "browser/FileNames.h"
#include "browser/OutputFolder.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

namespace fs = std::filesystem;

constexpr DWORD kDrawTime = 30000;

/// `name` split into its parts, each of which has to be a plain name.
fs::path RelativePath(const std::wstring& name)
{
    fs::path path;
    for (std::size_t start = 0; start <= name.size();) {
        const std::size_t end = std::min(name.find_first_of(L"/\\", start), name.size());
        const std::wstring part = name.substr(start, end - start);
        if (!IsFileName(part)) {
            throw BrowserError("screenshot: \"" + ToUtf8(name) +
                               "\" is no path below the folder Output");
        }
        path /= part;
        start = end + 1;
    }
    return path;
}

const char* FormatOf(const fs::path& path)
{
    const std::wstring extension = path.extension().wstring();
    if (_wcsicmp(extension.c_str(), L".png") == 0) {
        return "png";
    }
    if (_wcsicmp(extension.c_str(), L".jpg") == 0 || _wcsicmp(extension.c_str(), L".jpeg") == 0) {
        return "jpeg";
    }
    throw BrowserError("screenshot: the path has to end with .png or .jpg");
}

std::string DecodeBase64(const std::string& text)
{
    DWORD size = 0;
    const auto length = static_cast<DWORD>(text.size());
    CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64, nullptr, &size, nullptr,
                         nullptr);
    std::string bytes(size, '\0');
    if (!CryptStringToBinaryA(text.data(), length, CRYPT_STRING_BASE64,
                              reinterpret_cast<BYTE*>(bytes.data()), &size, nullptr, nullptr)) {
        throw BrowserError("screenshot: the browser has sent no picture");
    }
    return bytes;
}

Json Capture(DevTools& tools, const std::string& session, const char* format, bool fullPage)
{
    Json parameters = {{"format", format}};
    if (fullPage) {
        const Json size =
            tools.Call(session, "Page.getLayoutMetrics", {}, kDrawTime).at("cssContentSize");
        parameters["captureBeyondViewport"] = true;
        parameters["clip"] = {{"x", 0},
                              {"y", 0},
                              {"width", size.at("width")},
                              {"height", size.at("height")},
                              {"scale", 1}};
    }
    return tools.Call(session, "Page.captureScreenshot", parameters, kDrawTime);
}

}  // namespace

std::wstring SaveScreenshot(DevTools& tools, const std::string& session, const std::wstring& name,
                            bool fullPage)
{
    const fs::path relative = RelativePath(name);
    const Json picture = Capture(tools, session, FormatOf(relative), fullPage);
    const std::string bytes = DecodeBase64(picture.at("data").get<std::string>());
    for (const std::wstring& folder : OutputFolders()) {
        const fs::path path = folder / relative;
        std::error_code error;
        fs::create_directories(path.parent_path(), error);
        std::ofstream file(path.c_str(), std::ios::binary | std::ios::trunc);
        if (file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())) && file.flush()) {
            return path.wstring();
        }
    }
    throw BrowserError("screenshot: \"" + ToUtf8(name) + "\" cannot be written");
}

}  // namespace browser
