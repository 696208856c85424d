// The built DLL as a COM server: exports, factory, identity, automation, type library,
// registration.

#include <gmock/gmock.h>

#include "Interface.h"
#include "Interface/ServerModule.h"
#include "comserver/ComObject.h"
#include "comserver/RegistryScript.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"

using comserver::ComPtr;
using testing::ElementsAre;
using tests::g_imports;

namespace
{

std::string DllPath()
{
    return tests::BuildFolder() + "\\talvern.dll";
}

/// The default value, or a named one, of a key below HKEY_CLASSES_ROOT; "(none)" when not there.
std::string ClassesValue(const std::string& key, const char* name = nullptr)
{
    char text[512] = "";
    DWORD size = sizeof text;
    HKEY opened = nullptr;
    if (RegOpenKeyExA(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) {
        return "(none)";
    }
    RegQueryValueExA(opened, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(opened);
    return text;
}

class ComServer : public testing::Test
{
  protected:
    ComServer()
    {
        CoInitialize(nullptr);
        m_dll = LoadLibraryA(DllPath().c_str());
        EXPECT_NE(m_dll, nullptr);
    }
    ~ComServer() override
    {
        FreeLibrary(m_dll);
        CoUninitialize();
    }

    template <class Function>
    Function* Export(WORD ordinal) const
    {
        return reinterpret_cast<Function*>(
            reinterpret_cast<void*>(GetProcAddress(m_dll, MAKEINTRESOURCEA(ordinal))));
    }
    HRESULT CanUnload() const { return Export<HRESULT WINAPI()>(1)(); }
    HRESULT Register() const { return Export<HRESULT WINAPI()>(3)(); }
    HRESULT Unregister() const { return Export<HRESULT WINAPI()>(4)(); }

    template <class Interface>
    HRESULT ClassObject(REFCLSID clsid, ComPtr<Interface>& object) const
    {
        return Export<decltype(DllGetClassObject)>(2)(clsid, __uuidof(Interface),
                                                      reinterpret_cast<void**>(object.Receive()));
    }

    HMODULE m_dll = nullptr;
};

std::string Guid(REFGUID guid)
{
    wchar_t text[64];
    StringFromGUID2(guid, text, 64);
    return tvn::ToNarrow(text);
}

std::string Owned(BSTR text)
{
    return tests::Narrow(tvn::ComString(text, false));
}

}  // namespace

TEST_F(ComServer, ExportsAreThereByNameAndOrdinal)
{
    const char* names[] = {"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                           "DllUnregisterServer"};
    for (WORD ordinal = 1; ordinal <= 4; ++ordinal) {
        EXPECT_NE(Export<void()>(ordinal), nullptr);
        EXPECT_EQ(reinterpret_cast<void*>(GetProcAddress(m_dll, names[ordinal - 1])),
                  reinterpret_cast<void*>(Export<void()>(ordinal)));
    }
}

TEST_F(ComServer, IsInUseWhileSomethingOfItIs)
{
    ComPtr<IUnknown> other;
    EXPECT_EQ(ClassObject(IID_IApp, other), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(CanUnload(), S_OK);
    ComPtr<IApp> app;
    {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(ClassObject(CLSID_App, factory), S_OK);
        EXPECT_EQ(CanUnload(), S_FALSE);
        EXPECT_EQ(
            factory->CreateInstance(nullptr, IID_IApp, reinterpret_cast<void**>(app.Receive())),
            S_OK);
        void* none = &none;
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IErrorInfo, &none), E_NOINTERFACE);
        EXPECT_EQ(none, nullptr);
        factory->LockServer(TRUE);
        app.Detach()->Release();
    }
    EXPECT_EQ(CanUnload(), S_FALSE) << "the server is locked";
    ComPtr<IClassFactory> factory;
    ClassObject(CLSID_App, factory);
    factory->LockServer(FALSE);
    factory.Detach()->Release();
    EXPECT_EQ(CanUnload(), S_OK);
}

TEST_F(ComServer, AnObjectHasThreeInterfacesAndOneIdentity)
{
    ComPtr<IClassFactory> factory;
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(ClassObject(CLSID_App, factory), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch,
                                      reinterpret_cast<void**>(dispatch.Receive())),
              S_OK);
    ComPtr<IUnknown> unknown;
    ComPtr<IUnknown> again;
    ComPtr<IApp> app;
    const auto query = [&](REFIID iid, void* object) {
        return dispatch->QueryInterface(iid, static_cast<void**>(object));
    };
    EXPECT_EQ(query(IID_IUnknown, unknown.Receive()), S_OK);
    EXPECT_EQ(query(IID_IApp, app.Receive()), S_OK);
    EXPECT_EQ(app->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(again.Receive())), S_OK);
    EXPECT_EQ(unknown.Get(), again.Get());
    void* none = nullptr;
    for (const IID& iid : {IID_ISupportErrorInfo, IID_IProvideClassInfo, IID_IMarshal}) {
        EXPECT_EQ(query(iid, &none), E_NOINTERFACE);
    }
    EXPECT_EQ(app->QueryInterface(IID_IApp, nullptr), E_POINTER);

    UINT count = 0;
    ComPtr<ITypeInfo> typeInfo;
    EXPECT_EQ(dispatch->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(dispatch->GetTypeInfo(1, 0, typeInfo.Receive()), DISP_E_BADINDEX);
    EXPECT_EQ(dispatch->GetTypeInfo(0, 0, nullptr), E_POINTER);
    EXPECT_EQ(dispatch->GetTypeInfo(0, 0, typeInfo.Receive()), S_OK);
}

TEST_F(ComServer, AnObjectCanBeAPartOfAnother)
{
    struct Outer : IUnknown
    {
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
        {
            if (IsEqualIID(iid, IID_IUnknown)) {
                *object = this;
                AddRef();
                return S_OK;
            }
            return inner->QueryInterface(iid, object);
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
        ULONG STDMETHODCALLTYPE Release() override { return --references; }
        ULONG references = 1;
        ComPtr<IUnknown> inner;
    };
    Outer outer;
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(ClassObject(CLSID_App, factory), S_OK);
    void* refused = nullptr;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IApp, &refused), CLASS_E_NOAGGREGATION);
    ASSERT_EQ(factory->CreateInstance(&outer, IID_IUnknown,
                                      reinterpret_cast<void**>(outer.inner.Receive())),
              S_OK);
    EXPECT_EQ(outer.references, 1U);
    {
        ComPtr<IApp> app;
        ComPtr<IUnknown> identity;
        ASSERT_EQ(outer.QueryInterface(IID_IApp, reinterpret_cast<void**>(app.Receive())), S_OK);
        EXPECT_EQ(outer.references, 2U) << "its references are the outer object's";
        app->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(identity.Receive()));
        EXPECT_EQ(identity.Get(), &outer);
        Status status = {};
        EXPECT_EQ(app->tvnExit(1, &status), S_OK);
        EXPECT_EQ(static_cast<int>(status), -4);
    }
    EXPECT_EQ(outer.references, 1U);
    outer.inner.Detach()->Release();
    factory.Detach()->Release();
    EXPECT_EQ(CanUnload(), S_OK);
}

// ---- the type library, as the platform's own loader reads it

namespace
{

/// One method written out as its definition would be.
std::string Describe(ITypeInfo* info, UINT index)
{
    FUNCDESC* function = nullptr;
    info->GetFuncDesc(index, &function);
    BSTR names[8] = {};
    UINT count = 0;
    info->GetNames(function->memid, names, 8, &count);
    BSTR help = nullptr;
    info->GetDocumentation(function->memid, nullptr, &help, nullptr, nullptr);
    std::string text = std::to_string(function->memid) + " " + Owned(names[0]) + " '" +
                       Owned(help) + "' vt" + std::to_string(function->elemdescFunc.tdesc.vt) +
                       " (";
    for (SHORT at = 0; at < function->cParams; ++at) {
        const ELEMDESC& parameter = function->lprgelemdescParam[at];
        const USHORT flags = parameter.paramdesc.wParamFlags;
        text += at == 0 ? "" : ", ";
        text += Owned(names[at + 1]) + ":" + std::to_string(parameter.tdesc.vt);
        if (parameter.tdesc.vt == VT_PTR) {
            text += ">" + std::to_string(parameter.tdesc.lptdesc->vt);
        }
        for (const auto& [flag, name] : {std::pair{PARAMFLAG_FIN, " in"},
                                         {PARAMFLAG_FOUT, " out"},
                                         {PARAMFLAG_FRETVAL, " retval"},
                                         {PARAMFLAG_FOPT, " opt"}}) {
            text += (flags & flag) != 0 ? name : "";
        }
        if ((flags & PARAMFLAG_FHASDEFAULT) != 0) {
            const VARIANT& value = parameter.paramdesc.pparamdescex->varDefaultValue;
            text += " = " + std::to_string(V_VT(&value)) + ":" +
                    std::to_string(V_VT(&value) == VT_BOOL ? V_BOOL(&value) : V_I4(&value));
        }
    }
    info->ReleaseFuncDesc(function);
    return text + ")";
}

}  // namespace

TEST_F(ComServer, TheEmbeddedLibraryHoldsTheContract)
{
    ComPtr<ITypeLib> library;
    const auto path = tvn::ToComString(DllPath() + "\\1");
    ASSERT_EQ(LoadTypeLibEx(path, REGKIND_NONE, library.Receive()), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->lcid, 0x409U);
    EXPECT_EQ(attributes->wMajorVerNum * 100 + attributes->wMinorVerNum, 100);
    EXPECT_EQ(Guid(attributes->guid), Guid(LIBID_Talvern));
    library->ReleaseTLibAttr(attributes);
    const auto named = [&](int index) {
        BSTR name = nullptr;
        BSTR help = nullptr;
        library->GetDocumentation(index, &name, &help, nullptr, nullptr);
        const std::string text = Owned(name);
        return text + "|" + Owned(help);
    };
    EXPECT_EQ(named(-1), "Talvern|Talvern Scripting Interface");

    ComPtr<ITypeInfo> dispatch;
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(IID_IApp, dispatch.Receive()), S_OK);
    TYPEATTR* type = nullptr;
    HREFTYPE reference = 0;
    ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ASSERT_EQ(dispatch->GetRefTypeInfo(reference, info.Receive()), S_OK);
    info->GetTypeAttr(&type);
    EXPECT_EQ(type->cFuncs, 8);
    EXPECT_EQ(type->wTypeFlags, TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE);
    info->ReleaseTypeAttr(type);
    std::vector<std::string> methods;
    for (UINT index = 0; index < 8; ++index) {
        methods.push_back(Describe(info.Get(), index));
    }
    // Types: 3 long, 8 BSTR, 11 VARIANT_BOOL, 12 VARIANT, 25 HRESULT, 26 pointer, 29 user-defined.
    EXPECT_THAT(
        methods,
        ElementsAre(
            "30 tvnInit 'method tvnInit' vt25 (commandLine:12 in opt, openNewBrowser:11 in opt = "
            "11:-1, user:12 in opt, password:12 in opt, domain:12 in opt, timeout:3 in opt = 3:30, "
            "Status:26>29 out retval)",
            "22 tvnDisplay 'method tvnDisplay' vt25 (text:8 in, timeout:3 in opt = 3:10, "
            "Status:26>29 out retval)",
            "23 tvnPlay 'method tvnPlay' vt25 (inText:8 in, timeout:3 in opt = 3:600, "
            "Status:26>29 out retval)",
            "24 tvnExit 'method tvnExit' vt25 (timeout:3 in opt = 3:10, Status:26>29 out retval)",
            "25 tvnSet 'method tvnSet' vt25 (sVariable:8 in, sValue:8 in, Status:26>29 out retval)",
            "26 tvnGetLastError 'method tvnGetLastError' vt25 (value:26>8 out retval)",
            "27 tvnGetLastExtract 'method tvnGetLastExtract' vt25 (index:12 opt, value:26>8 out "
            "retval)",
            "29 tvnGetInterfaceVersion 'method tvnGetInterfaceVersion' vt25 (version:26>3 out "
            "retval)"));

    std::vector<std::string> types;
    std::vector<std::string> members;
    for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
        TYPEKIND kind = TKIND_MAX;
        library->GetTypeInfoType(index, &kind);
        ComPtr<ITypeInfo> each;
        library->GetTypeInfo(index, each.Receive());
        each->GetTypeAttr(&type);
        if (kind != TKIND_ENUM) {
            types.push_back(std::to_string(kind) + " " + named(static_cast<int>(index)) +
                            (type->wTypeFlags & TYPEFLAG_FCANCREATE ? " creatable" : ""));
        }
        for (UINT at = 0; kind == TKIND_ENUM && at < type->cVars; ++at) {
            VARDESC* member = nullptr;
            each->GetVarDesc(at, &member);
            BSTR name = nullptr;
            each->GetDocumentation(member->memid, &name, nullptr, nullptr, nullptr);
            members.push_back(Owned(name) + "=" + std::to_string(V_I4(member->lpvarValue)));
            each->ReleaseVarDesc(member);
        }
        each->ReleaseTypeAttr(type);
    }
    EXPECT_THAT(types, testing::UnorderedElementsAre("4 IApp|IApp Interface", "6 Status|",
                                                     "5 App|App Class creatable"));
    EXPECT_THAT(members, ElementsAre("sOk=1", "sFail=-1", "sNotCompleted=-2", "sTimeout=-3",
                                     "sNotStarted=-4", "sInternal=-20", "sMacroError=-100",
                                     "sRunnerNotReachable=-6", "sInstancesCountLimitReached=-7"));
}

TEST_F(ComServer, LateBoundCallsReachTheMethodsWithTheirDefaults)
{
    ComPtr<IDispatch> app;
    ASSERT_EQ(CoCreateInstance(CLSID_App, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                               reinterpret_cast<void**>(app.Receive())),
              S_OK);
    const auto call = [&](const wchar_t* name, std::vector<_variant_t> backwards = {}) {
        LPOLESTR names[] = {const_cast<wchar_t*>(name)};
        DISPID id = 0;
        EXPECT_EQ(app->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
        DISPPARAMS parameters = {backwards.data(), nullptr, static_cast<UINT>(backwards.size()), 0};
        _variant_t value;
        EXPECT_EQ(
            app->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &parameters, &value, nullptr, nullptr),
            S_OK);
        return value;
    };
    EXPECT_EQ(static_cast<LONG>(call(L"tvnGetInterfaceVersion")), 6300216);
    EXPECT_EQ(static_cast<LONG>(call(L"TVNINIT")), 1) << "all of its arguments are left out";
    EXPECT_EQ(static_cast<LONG>(call(L"tvnSet", {L"value", L"name"})), 1);
    EXPECT_EQ(static_cast<LONG>(call(L"tvnPlay", {L"m"})), 1);
    EXPECT_EQ(call(L"tvnGetLastExtract", {2L}), _variant_t(L"name=value"));
    EXPECT_EQ(call(L"tvnGetLastExtract"), _variant_t(L"m[EXTRACT]name=value"));
    EXPECT_EQ(call(L"tvnGetLastError"), _variant_t(L""));
    EXPECT_EQ(static_cast<LONG>(call(L"tvnDisplay", {L"t"})), 1);
    EXPECT_EQ(static_cast<LONG>(call(L"tvnExit")), 1);
}

// ---- registration

TEST_F(ComServer, RegistrationWritesOneCopyAndUnregistrationTakesItBack)
{
    const std::string clsid = Guid(CLSID_App);
    const std::string classKey = "CLSID\\" + clsid;
    tests::SetRegistryValue(classKey + "\\Stale", "", "x", REG_SZ, 0, HKEY_CLASSES_ROOT);
    ASSERT_EQ(Register(), S_OK);
    ASSERT_EQ(Register(), S_OK);
    EXPECT_EQ(ClassesValue("talvern.1"), "App Class");
    EXPECT_EQ(ClassesValue("talvern.1\\CLSID"), clsid);
    EXPECT_EQ(ClassesValue("talvern"), "App Class");
    EXPECT_EQ(ClassesValue("talvern\\CLSID"), clsid);
    EXPECT_EQ(ClassesValue("talvern\\CurVer"), "talvern.1");
    EXPECT_EQ(ClassesValue(classKey), "App Class");
    EXPECT_EQ(ClassesValue(classKey + "\\ProgID"), "talvern.1");
    EXPECT_EQ(ClassesValue(classKey + "\\VersionIndependentProgID"), "talvern");
    EXPECT_EQ(ClassesValue(classKey + "\\Programmable"), "");
    EXPECT_EQ(ClassesValue(classKey + "\\InprocServer32"), DllPath());
    EXPECT_EQ(ClassesValue(classKey + "\\InprocServer32", "ThreadingModel"), "Both");
    EXPECT_EQ(ClassesValue(classKey + "\\TypeLib"), Guid(LIBID_Talvern));
    EXPECT_EQ(ClassesValue(classKey + "\\Stale"), "(none)");
    const std::string library = "TypeLib\\" + Guid(LIBID_Talvern) + "\\1.0";
    EXPECT_EQ(ClassesValue(library), "Talvern Scripting Interface");
    EXPECT_EQ(ClassesValue(library + "\\409\\win64"), DllPath());

    EXPECT_EQ(Unregister(), S_OK);
    EXPECT_EQ(Unregister(), S_OK);
    for (const std::string& key :
         {std::string("talvern"), std::string("talvern.1"), classKey,
          "TypeLib\\" + Guid(LIBID_Talvern), "Interface\\" + Guid(IID_IApp)}) {
        EXPECT_EQ(ClassesValue(key), "(none)") << key;
    }
    EXPECT_NE(ClassesValue("CLSID"), "(none)");
    ASSERT_EQ(Register(), S_OK);
}

TEST_F(ComServer, ARegistrationThatFailsHalfWayGivesTheReason)
{
    tvn::g_module.Init(m_dll);  // the linked product, where imports can be replaced
    g_imports.failRegistryValue = L"Both";
    EXPECT_EQ(tvn::g_module.RegisterServer(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    g_imports.failRegistryValue.clear();
    g_imports.failModulePath = true;
    EXPECT_EQ(tvn::g_module.RegisterServer(), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    g_imports.failModulePath = false;
    ASSERT_EQ(tvn::g_module.RegisterServer(), S_OK);

    for (const char* script : {"", "HKCU { }", "HKCR {", "HKCR { a = s 'x }", "HKCR { a = x 'y' }",
                               "HKCR { a { val b } }", "HKCR { } more"}) {
        const comserver::RegistryScript broken(script, L"");
        EXPECT_EQ(broken.Register(), E_INVALIDARG) << script;
        EXPECT_EQ(broken.Unregister(), E_INVALIDARG) << script;
    }
    const comserver::RegistryScript quoted("HKCR { tvn_test = s 'it''s %MODULE%' }", L"C:\\o'm");
    EXPECT_EQ(quoted.Register(), S_OK);
    EXPECT_EQ(ClassesValue("tvn_test"), "it's C:\\o'm");
    EXPECT_EQ(quoted.Unregister(), S_OK);
    EXPECT_EQ(ClassesValue("tvn_test"), "(none)");
}

TEST_F(ComServer, TheModuleEntryWritesItsLine)
{
    FreeLibrary(m_dll);
    const tests::LogCapture log;
    m_dll = LoadLibraryA(DllPath().c_str());
    std::vector<std::string> lines = log.Lines();
    EXPECT_THAT(lines, ElementsAre("[tvn::debug] in DLLMain"));
}

TEST_F(ComServer, TheVersionResourceNamesTheProduct)
{
    std::vector<char> data(GetFileVersionInfoSizeA(DllPath().c_str(), nullptr));
    ASSERT_TRUE(
        GetFileVersionInfoA(DllPath().c_str(), 0, static_cast<DWORD>(data.size()), data.data()));
    const auto text = [&](const char* name) {
        void* value = nullptr;
        UINT length = 0;
        VerQueryValueA(data.data(), ("\\StringFileInfo\\040904B0\\" + std::string(name)).c_str(),
                       &value, &length);
        return std::string(value == nullptr ? "(none)" : static_cast<const char*>(value));
    };
    EXPECT_EQ(text("ProductName"), "Talvern");
    EXPECT_EQ(text("FileDescription"), "Talvern Scripting Interface");
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &length);
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00060003U);
    EXPECT_EQ(fixed->dwFileVersionLS, 216U);
}
