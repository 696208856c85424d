#include "tests/type_library.h"

#include <gtest/gtest.h>
#include <wrl/client.h>

#include "Interface.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using Microsoft::WRL::ComPtr;

template <class Source>
std::pair<std::string, std::string> Named(Source& source, long index)
{
    BSTR name = nullptr;
    BSTR help = nullptr;
    source.GetDocumentation(index, &name, &help, nullptr, nullptr);
    return {Narrow(ComString(name, false)), Narrow(ComString(help, false))};
}
template std::pair<std::string, std::string> Named(ITypeLib& source, long index);
template std::pair<std::string, std::string> Named(ITypeInfo& source, long index);

static Method::Parameter Described(const ELEMDESC& element, const std::string& name)
{
    const TYPEDESC& type = element.tdesc;
    Method::Parameter parameter = {name,     type.vt, VT_EMPTY, element.paramdesc.wParamFlags,
                                   VT_EMPTY, 0};
    if (type.vt == VT_PTR) {
        parameter.pointed = type.lptdesc->vt;
    }
    if ((parameter.flags & PARAMFLAG_FHASDEFAULT) != 0) {
        const VARIANT& value = element.paramdesc.pparamdescex->varDefaultValue;
        parameter.defaultType = V_VT(&value);
        parameter.byDefault = V_VT(&value) == VT_BOOL ? V_BOOL(&value) : V_I4(&value);
    }
    return parameter;
}

static std::vector<Method> MethodsOf(ITypeInfo& info)
{
    std::vector<Method> methods;
    FUNCDESC* function = nullptr;
    for (UINT index = 0; info.GetFuncDesc(index, &function) == S_OK; ++index) {
        BSTR names[10] = {};
        UINT count = 0;
        EXPECT_EQ(info.GetNames(function->memid, names, 10, &count), S_OK);
        const auto [name, help] = Named(info, function->memid);
        Method& method = methods.emplace_back(
            Method{function->memid, name, help, function->elemdescFunc.tdesc.vt, {}});
        for (SHORT at = 0; at < function->cParams; ++at) {
            method.parameters.push_back(
                Described(function->lprgelemdescParam[at], Narrow(ComString(names[at + 1], true))));
        }
        std::for_each(names, names + count, SysFreeString);
        info.ReleaseFuncDesc(function);
    }
    return methods;
}

std::vector<Method> MethodsOfTheDll()
{
    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> dispatch;
    ComPtr<ITypeInfo> info;
    HREFTYPE reference = 0;
    const _bstr_t dll((BuildFolder() + "\\talvern.dll").c_str());
    EXPECT_EQ(LoadTypeLibEx(dll, REGKIND_NONE, library.GetAddressOf()), S_OK);
    EXPECT_EQ(library->GetTypeInfoOfGuid(IID_IApp, dispatch.GetAddressOf()), S_OK);
    EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    EXPECT_EQ(dispatch->GetRefTypeInfo(reference, info.GetAddressOf()), S_OK);
    return MethodsOf(*info.Get());
}

}  // namespace tvn::tests
