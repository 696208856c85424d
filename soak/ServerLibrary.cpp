#include "soak/ServerLibrary.h"

#include <stdexcept>

#include "Interface.h"
#include "soak/ProgramFolder.h"

namespace soak
{
namespace
{

template <class Function>
Function* Export(HMODULE library, const char* name)
{
    auto* const address = reinterpret_cast<void*>(GetProcAddress(library, name));
    if (address == nullptr) {
        throw std::runtime_error(std::string("the DLL does not export ") + name);
    }
    return reinterpret_cast<Function*>(address);
}

}  // namespace

ServerLibrary::ServerLibrary()
    : m_library(LoadLibraryA((ProgramFolder() + "\\talvern.dll").c_str()))
{
    if (m_library == nullptr) {
        m_library = LoadLibraryA((FolderAbove() + "\\talvern.dll").c_str());
    }
    if (m_library == nullptr) {
        throw std::runtime_error("talvern.dll is neither in " + ProgramFolder() + " nor in " +
                                 FolderAbove());
    }
}

ServerLibrary::~ServerLibrary()
{
    FreeLibrary(m_library);
}

Microsoft::WRL::ComPtr<IClassFactory> ServerLibrary::Factory() const
{
    auto* const getClassObject =
        Export<HRESULT WINAPI(REFCLSID, REFIID, void**)>(m_library, "DllGetClassObject");
    Microsoft::WRL::ComPtr<IClassFactory> factory;
    if (getClassObject(CLSID_App, IID_IClassFactory,
                       reinterpret_cast<void**>(factory.GetAddressOf())) != S_OK) {
        throw std::runtime_error("the DLL has no class factory");
    }
    return factory;
}

HRESULT ServerLibrary::CanUnloadNow() const
{
    return Export<HRESULT WINAPI()>(m_library, "DllCanUnloadNow")();
}

}  // namespace soak
