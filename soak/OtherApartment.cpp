#include "soak/OtherApartment.h"

#include <windows.h>

#include <comdef.h>
#include <wrl/client.h>
#include <initializer_list>
#include <stdexcept>
#include <thread>

#include "Interface.h"
#include "basicslib/Handle.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/WaitPumping.h"
#include "soak/Counterpart.h"
#include "soak/ProcessFigures.h"

namespace soak
{
namespace
{

using Microsoft::WRL::ComPtr;

void Check(HRESULT result, const char* what)
{
    if (FAILED(result)) {
        throw std::runtime_error(std::string(what) + " gives " + std::to_string(result));
    }
}

/// A thread's apartment.
class Apartment
{
  public:
    Apartment() { Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "CoInitializeEx"); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

/// A method called by its name; the arguments in their order.
_variant_t Call(IDispatch& object, const wchar_t* method,
                std::initializer_list<_variant_t> arguments = {})
{
    std::wstring text = method;
    wchar_t* name = text.data();
    DISPID id = 0;
    Check(object.GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), "GetIDsOfNames");
    std::vector<_variant_t> reversed(std::make_reverse_iterator(arguments.end()),
                                     std::make_reverse_iterator(arguments.begin()));
    DISPPARAMS parameters = {};
    parameters.rgvarg = reversed.data();
    parameters.cArgs = static_cast<UINT>(reversed.size());
    _variant_t result;
    Check(object.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &result,
                        nullptr, nullptr),
          "Invoke");
    return result;
}

/// What is wrong with one round of calls.
std::string Round(IDispatch& object)
{
    const _variant_t line(L"-runner");
    if (static_cast<long>(Call(object, L"tvnInit", {line, _variant_t(false)})) != tvn::sOk) {
        return "an init failed";
    }
    Call(object, L"tvnSet", {L"city", L"New York"});
    if (static_cast<long>(Call(object, L"tvnPlay", {L"macro"})) != tvn::sOk) {
        return "a play failed";
    }
    const auto extract = static_cast<_bstr_t>(Call(object, L"tvnGetLastExtract"));
    if (std::wstring_view(extract, extract.length()) != Counterpart::kPlayed) {
        return "a play has the wrong texts";
    }
    Call(object, L"tvnGetLastError");
    if (static_cast<long>(Call(object, L"tvnDisplay", {L"text"})) != tvn::sOk) {
        return "a display failed";
    }
    return static_cast<long>(Call(object, L"tvnExit")) == tvn::sOk ? "" : "an exit failed";
}

/// The other thread.
void CallRounds(IStream* stream, std::uint64_t rounds, OtherApartmentResult& result)
{
    try {
        const Apartment apartment;
        ComPtr<IDispatch> object;
        Check(CoGetInterfaceAndReleaseStream(stream, IID_IDispatch,
                                             reinterpret_cast<void**>(object.GetAddressOf())),
              "CoGetInterfaceAndReleaseStream");
        std::ptrdiff_t handles = 0;
        std::ptrdiff_t kibibytes = 0;
        for (std::uint64_t round = 0; round < rounds; ++round) {
            if (round == rounds / 4) {
                handles = CountHandles();
                kibibytes = PrivateKibibytes();
            }
            const std::string wrong = Round(*object.Get());
            ++result.done;
            result.good += wrong.empty() ? 1U : 0U;
            if (!wrong.empty() && result.wrong.empty()) {
                result.wrong = wrong;
            }
        }
        result.handles = CountHandles() - handles;
        result.kibibytes = PrivateKibibytes() - kibibytes;
    } catch (const std::exception& exception) {
        result.wrong = exception.what();
    } catch (const _com_error& error) {
        result.wrong = "a call gives " + std::to_string(error.Error());
    }
}

}  // namespace

OtherApartmentResult CallFromOtherApartment(std::uint64_t rounds)
{
    OtherApartmentResult result;
    const Apartment apartment;
    ComPtr<IDispatch> object;
    Check(CoCreateInstance(CLSID_App, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                           reinterpret_cast<void**>(object.GetAddressOf())),
          "CoCreateInstance, for which talvern.dll has to be registered,");
    IStream* stream = nullptr;
    Check(CoMarshalInterThreadInterfaceInStream(IID_IDispatch, object.Get(), &stream),
          "CoMarshalInterThreadInterfaceInStream");
    const tvn::Handle ended(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    std::thread other([&] {
        CallRounds(stream, rounds, result);
        SetEvent(ended.Get());
    });
    while (tvn::WaitPumping(ended.Get(), 1000) == WAIT_TIMEOUT) {
    }
    other.join();
    return result;
}

}  // namespace soak
