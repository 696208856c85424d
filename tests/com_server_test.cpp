// The built DLL as a COM server: exports, factory, identity, type library, registration.

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <thread>

#include "Interface.h"
#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "comserver/RegistryScript.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"
#include "tests/texts.h"
#include "tests/type_library.h"

namespace tvn::tests
{

using Microsoft::WRL::ComPtr;
using testing::ElementsAre;

static std::string DllPath()
{
    return BuildFolder() + "\\talvern.dll";
}

/// The default value, or a named one, of a key below HKEY_CLASSES_ROOT; "(none)" when not there.
static std::string ClassesValue(const std::string& key, const char* name = nullptr)
{
    char text[512] = "(none)";
    DWORD size = sizeof text;
    HKEY opened = nullptr;
    if (RegOpenKeyExA(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS) {
        text[0] = '\0';
        RegQueryValueExA(opened, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
        RegCloseKey(opened);
    }
    return text;
}

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
    const std::shared_ptr<HINSTANCE__> m_dll{LoadLibraryA(DllPath().c_str()), &FreeLibrary};
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
    EXPECT_NE(GetModuleHandleA(DllPath().c_str()), nullptr) << "stays once it was used";
    LoadLibraryA(DllPath().c_str());  // for the fixture to give back
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
    ComPtr<ITypeInfo> typeInfo;
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
    EXPECT_EQ(dispatch->GetTypeInfo(0, 0, typeInfo.GetAddressOf()), S_OK);
}

TEST_F(ComServer, AReferenceToALeftOutArgumentLeavesItOut)
{
    GetFactory();
    ComPtr<IDispatch> app;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, Out(app)), S_OK);
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
    _variant_t index = 1L;
    EXPECT_EQ(call(27, {Referring(index)}), _variant_t(L"NODATA"));
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
    void* refused = nullptr;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IApp, &refused), CLASS_E_NOAGGREGATION);
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

// ---- the type library, as the platform's own loader reads it

static std::string Described(const std::pair<std::string, std::string>& named)
{
    return named.first + " '" + named.second + "'";
}

/// One method written out as its definition would be.
static std::string Described(const Method& method)
{
    std::ostringstream text;
    text << method.id << " " << method.name << " '" << method.help << "' " << method.result << " ";
    for (const Method::Parameter& each : method.parameters) {
        text << (&each == method.parameters.data() ? "(" : ", ") << each.name << ":" << each.type;
        if (each.type == VT_PTR) {
            text << ">" << each.pointed;
        }
        text << "/" << each.flags;
        if ((each.flags & PARAMFLAG_FHASDEFAULT) != 0) {
            text << "=" << each.defaultType << ":" << each.byDefault;
        }
    }
    return text.str() + ")";
}

TEST_F(ComServer, TheEmbeddedTypeLibraryHoldsTheWholeInterface)
{
    ComPtr<ITypeLib> library;
    const auto path = ToComString(DllPath() + "\\1");
    ASSERT_EQ(LoadTypeLibEx(path, REGKIND_NONE, library.GetAddressOf()), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->lcid, 0x409U);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    EXPECT_EQ(Guid(attributes->guid), Guid(LIBID_Talvern));
    library->ReleaseTLibAttr(attributes);
    EXPECT_EQ(Described(Named(*library.Get(), -1)), "Talvern 'Talvern Scripting Interface'");

    ComPtr<ITypeInfo> dispatch;
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(IID_IApp, dispatch.GetAddressOf()), S_OK);
    TYPEATTR* type = nullptr;
    HREFTYPE reference = 0;
    ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ASSERT_EQ(dispatch->GetRefTypeInfo(reference, info.GetAddressOf()), S_OK);
    info->GetTypeAttr(&type);
    EXPECT_EQ(type->wTypeFlags, TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE);
    std::vector<std::string> methods;
    for (const Method& method : MethodsOf(*info.Get())) {
        methods.push_back(Described(method));
    }
    info->ReleaseTypeAttr(type);
    const auto implemented = [&reference](ITypeInfo& of) {
        ComPtr<ITypeInfo> base;
        of.GetRefTypeOfImplType(0, &reference);
        of.GetRefTypeInfo(reference, base.GetAddressOf());
        return Described(Named(*base.Get(), -1));
    };
    EXPECT_THAT(implemented(*info.Get()), testing::StartsWith("IDispatch "));
    ComPtr<ITypeInfo> coclass;
    ASSERT_EQ(library->GetTypeInfoOfGuid(CLSID_App, coclass.GetAddressOf()), S_OK);
    INT flags = 0;
    coclass->GetImplTypeFlags(0, &flags);
    EXPECT_EQ(implemented(*coclass.Get()) + std::to_string(flags), "IApp 'IApp Interface'1");
    EXPECT_NE(FindResourceExW(m_dll.get(), L"TYPELIB", MAKEINTRESOURCEW(1), 1033), nullptr);
    // Types: 3 long, 8 BSTR, 11 VARIANT_BOOL, 12 VARIANT, 25 HRESULT, 26 pointer, 29 user-defined.
    // Flags: 1 in, 2 out, 8 retval, 16 optional, 32 with a default.
    const std::string status = "Status:26>29/10)";
    EXPECT_THAT(
        methods,
        ElementsAre(
            "30 tvnInit 'method tvnInit' 25 (commandLine:12/17, openNewBrowser:11/49=11:-1, "
            "user:12/17, password:12/17, domain:12/17, timeout:3/49=3:30, " +
                status,
            "22 tvnDisplay 'method tvnDisplay' 25 (text:8/1, timeout:3/49=3:10, " + status,
            "23 tvnPlay 'method tvnPlay' 25 (inText:8/1, timeout:3/49=3:600, " + status,
            "24 tvnExit 'method tvnExit' 25 (timeout:3/49=3:10, " + status,
            "25 tvnSet 'method tvnSet' 25 (sVariable:8/1, sValue:8/1, " + status,
            "26 tvnGetLastError 'method tvnGetLastError' 25 (value:26>8/10)",
            "27 tvnGetLastExtract 'method tvnGetLastExtract' 25 (index:12/16, value:26>8/10)",
            "29 tvnGetInterfaceVersion 'method tvnGetInterfaceVersion' 25 (version:26>3/10)"));

    std::vector<std::string> types;
    for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
        ComPtr<ITypeInfo> each;
        library->GetTypeInfo(index, each.GetAddressOf());
        each->GetTypeAttr(&type);
        // (The compiler makes the enumeration's own name up.)
        const auto at = static_cast<long>(index);
        std::string text =
            std::to_string(type->typekind) +
            (type->typekind == TKIND_ENUM ? "" : " " + Described(Named(*library.Get(), at))) +
            (type->wTypeFlags & TYPEFLAG_FCANCREATE ? " creatable" : "");
        for (UINT number = 0; number < type->cVars; ++number) {
            VARDESC* member = nullptr;
            each->GetVarDesc(number, &member);
            text += " " + Described(Named(*each.Get(), member->memid)) + "=" +
                    std::to_string(V_I4(member->lpvarValue));
            each->ReleaseVarDesc(member);
        }
        types.push_back(text);
        each->ReleaseTypeAttr(type);
    }
    EXPECT_THAT(types, testing::UnorderedElementsAre(
                           "4 IApp 'IApp Interface'", "5 App 'App Class' creatable", "6 Status ''",
                           "0 sOk ''=1 sFail ''=-1 sNotCompleted ''=-2 sTimeout ''=-3 "
                           "sNotStarted ''=-4 sInternal ''=-20 sMacroError ''=-100 "
                           "sRunnerNotReachable ''=-6 sInstancesCountLimitReached ''=-7"));
}

// ---- registration

TEST_F(ComServer, RegistrationWritesOneCopyAndUnregistrationTakesItBack)
{
    const std::string clsid = Guid(CLSID_App);
    const std::string classKey = "CLSID\\" + clsid;
    const std::string libraryKey = "TypeLib\\" + Guid(LIBID_Talvern);
    SetRegistryValue("SOFTWARE\\Classes\\" + classKey + "\\Stale", "", "x");
    // What this user has of the class must not draw the registration into the user's part.
    const std::string own = "Software\\Classes\\";
    for (const std::string& key : {std::string("talvern"), classKey, libraryKey + "\\1.0"}) {
        EXPECT_EQ(RegSetKeyValueA(HKEY_CURRENT_USER, (own + key).c_str(), "own", REG_SZ, "", 1), 0);
    }
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    RegDeleteTreeA(HKEY_CURRENT_USER, (own + "talvern").c_str());
    RegDeleteTreeA(HKEY_CURRENT_USER, (own + classKey).c_str());
    RegDeleteTreeA(HKEY_CURRENT_USER, (own + libraryKey).c_str());
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
        {classKey + "\\InprocServer32", DllPath()},
        {classKey + "\\TypeLib", Guid(LIBID_Talvern)},
        {classKey + "\\Stale", "(none)"},
        {libraryKey + "\\1.0", "Talvern Scripting Interface"},
        {libraryKey + "\\1.0\\409\\win64", DllPath()},
    };
    for (const auto& [key, value] : values) {
        EXPECT_EQ(ClassesValue(key), value) << key;
    }
    EXPECT_EQ(ClassesValue(classKey + "\\InprocServer32", "ThreadingModel"), "Both");
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    for (const std::string& key : {std::string("talvern"), std::string("talvern.1"), classKey,
                                   libraryKey, "Interface\\" + Guid(IID_IApp)}) {
        EXPECT_EQ(ClassesValue(key), "(none)") << key;
    }
    EXPECT_NE(ClassesValue("CLSID"), "(none)");
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
    HRESULT result = S_OK;
    {
        ImportWatch first;  // in this process, so that what is made once is made now
        first.Fail(kMemory, ERROR_NOT_ENOUGH_MEMORY);
        result = g_module.RegisterServer();
    }
    EXPECT_EQ(result, E_OUTOFMEMORY);
    const auto before = [] {
        EXPECT_EQ(g_module.RegisterServer(), S_OK);
    };
    const auto failed = [&](const Failure& failure) {
        // A library without a path is not registered. When a key or the override is given back,
        // nobody is left to be told.
        const bool harmless =
            failure.what == "QueryPathOfRegTypeLib" || failure.what == "RegCloseKey";
        EXPECT_TRUE(SUCCEEDED(result) == harmless || failure.what == "RegOverridePredefKey")
            << failure.what;
        EXPECT_TRUE(classes == nullptr || failure.what == "RegOverridePredefKey") << failure.what;
    };
    for (const Fails how : {Fails::kOnce, Fails::kFromHereOn}) {
        FailEach(
            how, before, [&] { result = g_module.RegisterServer(); }, failed);
        FailEach(
            how, before, [&] { result = g_module.UnregisterServer(); }, failed);
    }
    before();
    EXPECT_EQ(classes, nullptr) << "HKEY_CLASSES_ROOT is as it was";
}

TEST_F(ComServer, ARegistrationThatFailsHalfWayGivesTheReason)
{
    // The linked product, where imports can be replaced.
    g_module.Init(reinterpret_cast<HINSTANCE>(4));
    wchar_t unknown[8];
    GetModuleFileNameW(reinterpret_cast<HINSTANCE>(4), unknown, 8);
    EXPECT_EQ(g_module.RegisterServer(), HRESULT_FROM_WIN32(GetLastError()));
    g_module.Init(m_dll.get());
    ASSERT_EQ(g_module.RegisterServer(), S_OK);
    for (const char* script : {"", "HKCU { }", "HKCR {", "HKCR { a = s 'x }", "HKCR { a = x 'y' }",
                               "HKCR { a { val b } }", "HKCR { } more"}) {
        const comserver::RegistryScript broken(HKEY_CLASSES_ROOT, script, L"");
        EXPECT_EQ(broken.Register(), E_INVALIDARG) << script;
        EXPECT_EQ(broken.Unregister(), E_INVALIDARG) << script;
    }
    const comserver::RegistryScript quoted(HKEY_CLASSES_ROOT,
                                           "HKCR { tvn_test = s 'it''s %MODULE%' }", L"C:\\o'm");
    EXPECT_EQ(quoted.Register(), S_OK);
    EXPECT_EQ(ClassesValue("tvn_test"), "it's C:\\o'm");
    EXPECT_EQ(quoted.Unregister(), S_OK);
    EXPECT_EQ(ClassesValue("tvn_test"), "(none)");
}

static std::size_t Occurrences(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
        ++count;
    }
    return count;
}

TEST(UnusedServer, ARegistrationThatFailsLeavesNothingWhenItIsUnloaded)
{
    // Whoever lacks the right to write there is refused in the same place.
    HKEY nothing = nullptr;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "Software\\TalvernNothing", &nothing),
              ERROR_SUCCESS);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nothing);
    std::set<DWORD> freeIndexes;
    for (int round = 0; round < 10; ++round) {
        HMODULE dll = LoadLibraryA(DllPath().c_str());
        for (const char* name : {"DllRegisterServer", "DllUnregisterServer"}) {
            const auto call = reinterpret_cast<HRESULT(WINAPI*)()>(
                reinterpret_cast<void*>(GetProcAddress(dll, name)));
            EXPECT_EQ(call(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) << name;
        }
        FreeLibrary(dll);
        EXPECT_EQ(GetModuleHandleA(DllPath().c_str()), nullptr) << "nothing has used it";
        const DWORD index = TlsAlloc();
        TlsFree(index);
        freeIndexes.insert(index);
    }
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(nothing);
    RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\TalvernNothing");
    EXPECT_EQ(freeIndexes.size(), 1U) << "each round has taken one";
}

TEST_F(ComServer, TheFileNamesTheProductAndNoPathOfTheMachineThatBuiltIt)
{
    std::string root = TreeFolder().substr(2);
    ReplaceAll(root, "\\", "/");
    std::ifstream file(DllPath(), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(bytes.find("pipeutils/Overlapped.cpp"), std::string::npos);
    // A build that counts what runs, and only that one, names the files into which it counts.
    EXPECT_EQ(Occurrences(bytes, root + "/"), Occurrences(bytes, ".gcda")) << root;

    std::vector<char> data(GetFileVersionInfoSizeA(DllPath().c_str(), nullptr));
    const auto size = static_cast<DWORD>(data.size());
    ASSERT_TRUE(GetFileVersionInfoA(DllPath().c_str(), 0, size, data.data()));
    const auto value = [&](const std::string& name) {
        void* found = nullptr;
        UINT length = 0;
        EXPECT_TRUE(VerQueryValueA(data.data(), name.c_str(), &found, &length)) << name;
        return found;
    };
    const std::string strings = "\\StringFileInfo\\040904B0\\";
    EXPECT_STREQ(static_cast<char*>(value(strings + "ProductName")), "Talvern");
    EXPECT_STREQ(static_cast<char*>(value(strings + "FileDescription")),
                 "Talvern Scripting Interface");
    const auto* fixed = static_cast<VS_FIXEDFILEINFO*>(value("\\"));
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00060003U);
    EXPECT_EQ(fixed->dwFileVersionLS, 216U);
}

}  // namespace tvn::tests
