// The type library in the built DLL, as the platform's own loader reads it.

#include <gmock/gmock.h>
#include <wrl/client.h>

#include <algorithm>
#include <sstream>

#include "Interface.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using Microsoft::WRL::ComPtr;
using testing::ElementsAre;

/// Name and help string of a library, of a type of it, or of a member of a type.
template <class Source>
static std::string Named(Source& source, long index)
{
    BSTR name = nullptr;
    BSTR help = nullptr;
    source.GetDocumentation(index, &name, &help, nullptr, nullptr);
    return Narrow(ComString(name, false)) + " '" + Narrow(ComString(help, false)) + "'";
}

/// One method written out as its definition would be.
static std::string Described(ITypeInfo& info, const FUNCDESC& function)
{
    BSTR names[10] = {};
    UINT count = 0;
    info.GetNames(function.memid, names, 10, &count);
    std::ostringstream text;
    text << function.memid << ' ' << Named(info, function.memid) << ' '
         << function.elemdescFunc.tdesc.vt << " (";
    for (SHORT at = 0; at < function.cParams; ++at) {
        const TYPEDESC& type = function.lprgelemdescParam[at].tdesc;
        const PARAMDESC& parameter = function.lprgelemdescParam[at].paramdesc;
        text << (at == 0 ? "" : ", ") << Narrow(ComString(names[at + 1], true)) << ":" << type.vt;
        if (type.vt == VT_PTR) {
            text << ">" << type.lptdesc->vt;
        }
        text << "/" << parameter.wParamFlags;
        if ((parameter.wParamFlags & PARAMFLAG_FHASDEFAULT) != 0) {
            const VARIANT& value = parameter.pparamdescex->varDefaultValue;
            text << "=" << V_VT(&value) << ":"
                 << (V_VT(&value) == VT_BOOL ? V_BOOL(&value) : V_I4(&value));
        }
    }
    std::for_each(names, names + count, SysFreeString);
    return text.str() + ")";
}

/// One type: its kind, what it is, what it implements with which flags, and its constants.
static std::string Described(ITypeLib& library, UINT index)
{
    ComPtr<ITypeInfo> info;
    TYPEATTR* type = nullptr;
    library.GetTypeInfo(index, info.GetAddressOf());
    info->GetTypeAttr(&type);
    std::ostringstream text;
    text << type->typekind << ' ' << std::hex << type->wTypeFlags << std::dec;
    if (type->typekind != TKIND_ENUM) {  // the compiler makes up the enumeration's own name
        text << ' ' << Named(library, static_cast<long>(index));
    }
    for (UINT number = 0; number < type->cImplTypes; ++number) {
        HREFTYPE reference = 0;
        INT flags = 0;
        ComPtr<ITypeInfo> base;
        info->GetRefTypeOfImplType(number, &reference);
        info->GetRefTypeInfo(reference, base.GetAddressOf());
        info->GetImplTypeFlags(number, &flags);
        text << " : " << Named(*base.Get(), -1) << ' ' << flags;
    }
    for (UINT number = 0; number < type->cVars; ++number) {
        VARDESC* member = nullptr;
        info->GetVarDesc(number, &member);
        text << ' ' << Named(*info.Get(), member->memid) << '=' << V_I4(member->lpvarValue);
        info->ReleaseVarDesc(member);
    }
    info->ReleaseTypeAttr(type);
    return text.str();
}

TEST(TypeLibrary, HoldsTheWholeInterface)
{
    ComPtr<ITypeLib> library;
    const auto path = ToComString(BuildFolder() + "\\talvern.dll\\1");
    ASSERT_EQ(LoadTypeLibEx(path, REGKIND_NONE, library.GetAddressOf()), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->lcid, 0x409U);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    EXPECT_TRUE(IsEqualGUID(attributes->guid, LIBID_Talvern));
    library->ReleaseTLibAttr(attributes);
    EXPECT_EQ(Named(*library.Get(), -1), "Talvern 'Talvern Scripting Interface'");

    // Types: 3 long, 8 BSTR, 11 VARIANT_BOOL, 12 VARIANT, 25 HRESULT, 26 pointer, 29 user-defined.
    // Flags: 1 in, 2 out, 8 retval, 16 optional, 32 with a default.
    std::vector<std::string> methods;
    ComPtr<ITypeInfo> dispatch;
    ComPtr<ITypeInfo> app;
    HREFTYPE reference = 0;
    library->GetTypeInfoOfGuid(IID_IApp, dispatch.GetAddressOf());
    dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference);
    ASSERT_EQ(dispatch->GetRefTypeInfo(reference, app.GetAddressOf()), S_OK);
    TYPEATTR* type = nullptr;
    app->GetTypeAttr(&type);
    EXPECT_EQ(type->wTypeFlags, 0x1140) << "the same for compiled clients";
    app->ReleaseTypeAttr(type);
    FUNCDESC* function = nullptr;
    for (UINT index = 0; app->GetFuncDesc(index, &function) == S_OK; ++index) {
        methods.push_back(Described(*app.Get(), *function));
        app->ReleaseFuncDesc(function);
    }
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

    // Kinds: 0 enumeration, 4 interface for scripts, 5 class, 6 another name. Flags: 2 can be
    // created, 40 dual, 100 only types of automation, 1000 derives from IDispatch.
    std::vector<std::string> types;
    for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
        types.push_back(Described(*library.Get(), index));
    }
    EXPECT_THAT(types, testing::UnorderedElementsAre(
                           "4 1040 IApp 'IApp Interface' : IDispatch '' 0",
                           "5 2 App 'App Class' : IApp 'IApp Interface' 1", "6 0 Status ''",
                           "0 0 sOk ''=1 sFail ''=-1 sNotCompleted ''=-2 sTimeout ''=-3 "
                           "sNotStarted ''=-4 sInternal ''=-20 sMacroError ''=-100 "
                           "sRunnerNotReachable ''=-6 sInstancesCountLimitReached ''=-7"));
}

}  // namespace tvn::tests
