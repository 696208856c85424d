// The methods of the object as the type library in the DLL has them.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>
#include <vector>

namespace tvn::tests
{

struct Method
{
    struct Parameter
    {
        std::string name;
        VARTYPE type;
        VARTYPE pointed;  ///< of what a pointer points to
        USHORT flags;     ///< PARAMFLAG_...
        VARTYPE defaultType;
        LONG byDefault;  ///< with PARAMFLAG_FHASDEFAULT
    };

    MEMBERID id;
    std::string name;
    std::string help;
    VARTYPE result;
    std::vector<Parameter> parameters;
};

/// Name and help string of a type of a library, or of a member of a type.
template <class Source>
std::pair<std::string, std::string> Named(Source& source, long index);

/// The methods of IApp in the DLL that was built, without those that it inherits.
std::vector<Method> MethodsOfTheDll();

}  // namespace tvn::tests
