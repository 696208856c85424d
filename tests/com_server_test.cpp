// The built DLL as a COM server: exports, factory, identity, registration.

#include <gmock/gmock.h>

#include <set>
#include <thread>

#include "Interface.h"
#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using Microsoft::WRL::ComPtr;
using testing::ElementsAre;

static const std::string kDll = BuildFolder() + "\\talvern.dll";

static std::string Guid(REFGUID guid)
{
    wchar_t text[64];
    StringFromGUID2(guid, text, 64);
    return ToNarrow(text);
}

template <class Interface>
static void** Out(ComPtr<Interface>& pointer)
{
    return reinterpret_cast<void**>(pointer.GetAddressOf());
}

class ComServer : public testing::Test
{
  protected:
    template <class Function>
    Function* Export(const char* name) const
    {
        return reinterpret_cast<Function*>(
            reinterpret_cast<void*>(GetProcAddress(m_dll.get(), name)));
    }
    HRESULT Call(const char* name) const { return Export<HRESULT WINAPI()>(name)(); }
    void GetFactory()
    {
        ASSERT_EQ(m_getClassObject(CLSID_App, IID_IClassFactory, Out(factory)), S_OK);
    }

    const LogCapture log;
    const std::shared_ptr<HINSTANCE__> m_dll{LoadLibraryA(kDll.c_str()), &FreeLibrary};
    decltype(DllGetClassObject)* m_getClassObject =
        Export<decltype(DllGetClassObject)>("DllGetClassObject");
    ComPtr<IClassFactory> factory;
};

TEST_F(ComServer, TheServerIsInUseWhileSomethingOfItIs)
{
    std::thread([] {}).join();
    EXPECT_THAT(log.Lines(), ElementsAre(kDebug + "in DLLMain")) << "none for threads";
    WORD ordinal = 0;
    for (const char* name :
         {"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"}) {
        EXPECT_NE(Export<void()>(name), nullptr);
        EXPECT_EQ(Export<void()>(name), Export<void()>(MAKEINTRESOURCEA(++ordinal)));
    }
    ComPtr<IUnknown> other;
    EXPECT_EQ(m_getClassObject(IID_IApp, IID_IUnknown, Out(other)), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(m_getClassObject(CLSID_App, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(Call("DllCanUnloadNow"), S_OK);
    GetFactory();
    EXPECT_EQ(Call("DllCanUnloadNow"), S_FALSE);
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IApp, nullptr), E_POINTER);
    ComPtr<IApp> app;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IApp, Out(app)), S_OK);
    factory->LockServer(TRUE);
    factory.Detach()->Release();
    EXPECT_EQ(Call("DllCanUnloadNow"), S_FALSE);
    app.Detach()->Release();
    EXPECT_EQ(Call("DllCanUnloadNow"), S_FALSE) << "the server is locked";
    GetFactory();
    factory->LockServer(FALSE);
    factory.Detach()->Release();
    EXPECT_EQ(Call("DllCanUnloadNow"), S_OK);
    EXPECT_TRUE(FreeLibrary(m_dll.get()) && FreeLibrary(m_dll.get()));
    EXPECT_NE(GetModuleHandleA(kDll.c_str()), nullptr) << "stays once it was used";
    LoadLibraryA(kDll.c_str());  // for the fixture to give back
}

TEST_F(ComServer, AnObjectHasThreeInterfacesAndOneIdentity)
{
    GetFactory();
    void* none = &none;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IErrorInfo, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, Out(dispatch)), S_OK);
    ComPtr<IUnknown> unknown;
    ComPtr<IUnknown> again;
    ComPtr<IApp> app;
    EXPECT_EQ(dispatch->QueryInterface(IID_IUnknown, Out(unknown)), S_OK);
    EXPECT_EQ(dispatch->QueryInterface(IID_IApp, Out(app)), S_OK);
    EXPECT_EQ(app->QueryInterface(IID_IUnknown, Out(again)), S_OK);
    EXPECT_EQ(unknown.Get(), again.Get());
    for (const IID& iid : {IID_ISupportErrorInfo, IID_IProvideClassInfo, IID_IMarshal}) {
        EXPECT_EQ(dispatch->QueryInterface(iid, &none), E_NOINTERFACE);
    }
    EXPECT_EQ(app->QueryInterface(IID_IApp, nullptr), E_POINTER);
    UINT count = 0;
    EXPECT_EQ(dispatch->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    auto* stale = reinterpret_cast<ITypeInfo*>(&count);
    EXPECT_EQ(dispatch->GetTypeInfo(1, 0, &stale), DISP_E_BADINDEX);
    EXPECT_EQ(stale, nullptr);
    wchar_t nameText[] = L"tvnExit";
    wchar_t* name = nameText;
    DISPID id = 0;
    EXPECT_EQ(dispatch->GetIDsOfNames(IID_IApp, &name, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(
        dispatch->Invoke(29, IID_IApp, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
        DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(dispatch->GetTypeInfo(0, 0, nullptr), E_POINTER);
}

TEST_F(ComServer, AReferenceToALeftOutArgumentLeavesItOut)
{
    GetFactory();
    ComPtr<IDispatch> app;
    factory->CreateInstance(nullptr, IID_IDispatch, Out(app));
    VARIANT leftOut = AppClient::LeftOut();
    const auto call = [&](DISPID method, std::vector<VARIANT> arguments) {
        DISPPARAMS parameters = {arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        _variant_t result;
        EXPECT_EQ(app->Invoke(method, IID_NULL, 0, DISPATCH_METHOD, &parameters, &result, nullptr,
                              nullptr),
                  S_OK);
        EXPECT_EQ(V_VT(&arguments.front()), VT_VARIANT | VT_BYREF) << "the caller's own";
        return result;
    };
    const VARIANT reference = Referring(leftOut);
    EXPECT_EQ(call(24, {reference}), _variant_t(long{sNotStarted}));
    EXPECT_EQ(call(22, {reference, _variant_t(L"text")}), _variant_t(long{sNotStarted}));
    EXPECT_EQ(call(27, {reference}), _variant_t(L""));
}

TEST_F(ComServer, AnObjectCanBeAPartOfAnother)
{
    struct Outer : IUnknown
    {
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
        {
            if (!IsEqualIID(iid, IID_IUnknown)) {
                return inner->QueryInterface(iid, object);
            }
            *object = this;
            AddRef();
            return S_OK;
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
        ULONG STDMETHODCALLTYPE Release() override { return --references; }
        ULONG references = 1;
        ComPtr<IUnknown> inner;
    } outer;
    GetFactory();
    void* refused = &outer;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IApp, &refused), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(refused, nullptr);
    ASSERT_EQ(factory->CreateInstance(&outer, IID_IUnknown, Out(outer.inner)), S_OK);
    EXPECT_EQ(outer.references, 1U);
    {
        ComPtr<IApp> app;
        ComPtr<IUnknown> identity;
        ASSERT_EQ(outer.QueryInterface(IID_IApp, Out(app)), S_OK);
        EXPECT_EQ(outer.references, 2U) << "its references are the outer object's";
        app->QueryInterface(IID_IUnknown, Out(identity));
        EXPECT_EQ(identity.Get(), &outer);
        EXPECT_EQ(app->tvnExit(1, nullptr), S_OK);
    }
    EXPECT_EQ(outer.references, 1U);
    outer.inner.Detach()->Release();
    factory.Detach()->Release();
    EXPECT_EQ(Call("DllCanUnloadNow"), S_OK);
}

// ---- registration

TEST_F(ComServer, RegistrationWritesOneCopyAndUnregistrationTakesItBack)
{
    const std::string clsid = Guid(CLSID_App);
    const std::string classKey = "CLSID\\" + clsid;
    const std::string libraryKey = "TypeLib\\" + Guid(LIBID_Talvern);
    SetRegistryValue("SOFTWARE\\Classes\\" + classKey + "\\Stale", "", "x");
    // Keys of the class that belong to this user must not be what the registration writes to.
    HKEY created = nullptr;
    const std::string own = "Software\\Classes\\";
    const std::string owned[] = {own + "talvern", own + classKey, own + libraryKey};
    for (const std::string& key : owned) {
        EXPECT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, (key + "\\1.0").c_str(), &created), 0);
        RegCloseKey(created);
    }
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    for (const std::string& key : owned) {
        RegDeleteTreeA(HKEY_CURRENT_USER, key.c_str());
    }
    const std::pair<std::string, std::string> values[] = {
        {"talvern.1", "App Class"},
        {"talvern.1\\CLSID", clsid},
        {"talvern", "App Class"},
        {"talvern\\CLSID", clsid},
        {"talvern\\CurVer", "talvern.1"},
        {classKey, "App Class"},
        {classKey + "\\ProgID", "talvern.1"},
        {classKey + "\\VersionIndependentProgID", "talvern"},
        {classKey + "\\Programmable", ""},
        {classKey + "\\InprocServer32", kDll},
        {classKey + "\\TypeLib", Guid(LIBID_Talvern)},
        {classKey + "\\Stale", "(none)"},
        {libraryKey + "\\1.0", "Talvern Scripting Interface"},
        {libraryKey + "\\1.0\\409\\win64", kDll},
        {"Interface\\" + Guid(IID_IApp), "IApp"},
    };
    for (const auto& [key, value] : values) {
        EXPECT_EQ(RegistryValue(key), value) << key;
    }
    char model[8] = "";
    DWORD size = sizeof model;
    RegGetValueA(HKEY_CLASSES_ROOT, (classKey + "\\InprocServer32").c_str(), "ThreadingModel",
                 RRF_RT_REG_SZ, nullptr, model, &size);
    EXPECT_STREQ(model, "Both");
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    for (const auto& [key, value] : values) {
        EXPECT_EQ(RegistryValue(key), "(none)") << key;
    }
    EXPECT_NE(RegistryValue("CLSID"), "(none)");
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
}

TEST_F(ComServer, AnyImportThatFailsIsTheResultOfARegistration)
{
    g_module.Init(m_dll.get());  // the linked product
    static HKEY classes;
    const auto overriding = TVN_REPLACE_IMPORT(RegOverridePredefKey, [](HKEY key, HKEY other) {
        classes = other;
        return TVN_REAL_IMPORT(RegOverridePredefKey)(key, other);
    });
    {
        ImportWatch watch;  // the first in this process: what is made once is made now
        watch.Fail(kMemory, ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(g_module.RegisterServer(), E_OUTOFMEMORY);
    }
    const auto failEach = [](Fails how, auto method) {
        std::string what;
        for (unsigned int call = 1; call == 1 || !what.empty(); ++call) {
            EXPECT_EQ(g_module.RegisterServer(), S_OK);
            HRESULT result = S_OK;
            {
                ImportWatch watch;
                watch.Fail(kAnything, ERROR_ACCESS_DENIED, call, how);
                result = (g_module.*method)();
                what = watch.Failed() == nullptr ? "" : watch.Failed();
            }
            // A library without a path is not registered. When a key cannot be closed, or the
            // override cannot be ended, there is nobody to report it to.
            const bool harmless =
                what.empty() || what == "QueryPathOfRegTypeLib" || what == "RegCloseKey";
            const bool overrides = what == "RegOverridePredefKey";
            EXPECT_TRUE(SUCCEEDED(result) == harmless || overrides) << what;
            EXPECT_TRUE(classes == nullptr || overrides) << what;
        }
    };
    for (const Fails how : {Fails::kOnce, Fails::kFromHereOn}) {
        failEach(how, &comserver::Module::RegisterServer);
        failEach(how, &comserver::Module::UnregisterServer);
    }
    {
        static const std::wstring path(400, L'p');
        const auto named =
            TVN_REPLACE_IMPORT(GetModuleFileNameW, [](HMODULE, LPWSTR text, DWORD size) {
                return static_cast<DWORD>(path.copy(text, size));
            });
        ImportWatch watch;
        watch.Fail("LoadTypeLibEx", ERROR_FILE_NOT_FOUND);
        EXPECT_TRUE(FAILED(g_module.RegisterServer()));
        EXPECT_EQ(RegistryValue("CLSID\\" + Guid(CLSID_App) + "\\InprocServer32").size(), 400U);
    }
    const auto registers = [] {
        for (int round = 0; round < 10; ++round) {
            EXPECT_EQ(g_module.RegisterServer(), S_OK);
        }
    };
    std::thread other(registers);
    registers();  // each waits for the other
    other.join();
    EXPECT_EQ(classes, nullptr) << "HKEY_CLASSES_ROOT is as it was";
}

}  // namespace tvn::tests
