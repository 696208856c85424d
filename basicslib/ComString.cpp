#include "basicslib/ComString.h"

#include <limits>
#include <memory>

namespace tvn
{
namespace
{

/// Win32 takes lengths as int; a BSTR could not hold a longer text either.
int CheckedLength(std::size_t length)
{
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max()) / sizeof(wchar_t)) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    return static_cast<int>(length);
}

/// Converts to the ANSI code page; with `size` 0 it only returns the number of bytes needed.
int Narrow(std::wstring_view text, char* room, int size)
{
    return text.empty() ? 0
                        : WideCharToMultiByte(CP_ACP, 0, text.data(), CheckedLength(text.size()),
                                              room, size, nullptr, nullptr);
}

}  // namespace

ComString TakeBstr(BSTR bstr)
{
    std::unique_ptr<OLECHAR, decltype([](BSTR string) { SysFreeString(string); })> owner(bstr);
    if (!owner) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    ComString text(owner.get(), false);
    static_cast<void>(owner.release());
    return text;
}

ComString ToComString(std::wstring_view text)
{
    return TakeBstr(SysAllocStringLen(text.data(), static_cast<UINT>(CheckedLength(text.size()))));
}

ComString ToComString(std::string_view text)
{
    const int length = CheckedLength(text.size());
    const int size =
        length == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    ComString result = TakeBstr(SysAllocStringLen(nullptr, static_cast<UINT>(size)));
    if (size > 0) {
        MultiByteToWideChar(CP_ACP, 0, text.data(), length, result, size);
    }
    return result;
}

std::wstring_view ToView(const ComString& text) noexcept
{
    return ToView(static_cast<const wchar_t*>(text));
}

std::wstring_view ToView(const wchar_t* bstr) noexcept
{
    return bstr == nullptr ? std::wstring_view()
                           : std::wstring_view(bstr, SysStringLen(const_cast<BSTR>(bstr)));
}

std::string ToNarrow(std::wstring_view text)
{
    const int size = Narrow(text, nullptr, 0);
    std::string result(static_cast<std::size_t>(size), '\0');
    Narrow(text, result.data(), size);
    return result;
}

}  // namespace tvn

// The platform's string class leaves its two conversion functions to the program. They pass raw
// pointers because that class owns the memory.
namespace _com_util  // NOLINT(bugprone-reserved-identifier)
{

BSTR WINAPI ConvertStringToBSTR(const char* pSrc)
{
    return pSrc == nullptr ? nullptr : tvn::ToComString(std::string_view(pSrc)).Detach();
}

char* WINAPI ConvertBSTRToString(BSTR pSrc)
{
    if (pSrc == nullptr) {
        return nullptr;
    }
    const std::wstring_view text = tvn::ToView(pSrc);
    const int size = tvn::Narrow(text, nullptr, 0);
    std::unique_ptr<char[]> result(new char[static_cast<std::size_t>(size) + 1]);
    tvn::Narrow(text, result.get(), size);
    result[static_cast<std::size_t>(size)] = '\0';
    return result.release();
}

}  // namespace _com_util
