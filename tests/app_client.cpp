#include "tests/app_client.h"

#include <gtest/gtest.h>
#include <wrl/client.h>

#include "Interface/ServerModule.h"

namespace tvn::tests
{

VARIANT Referring(VARIANT& value)
{
    VARIANT reference = {};
    V_VT(&reference) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&reference) = &value;
    return reference;
}

IApp* NewApp()
{
    Microsoft::WRL::ComPtr<IClassFactory> factory;
    void** const out = reinterpret_cast<void**>(factory.GetAddressOf());
    EXPECT_EQ(g_module.GetClassObject(CLSID_App, IID_IClassFactory, out), S_OK);
    void* app = nullptr;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IApp, &app), S_OK);
    return static_cast<IApp*>(app);
}

AppClient::AppClient() : Client(NewApp()) {}

std::string AppClient::Texts()
{
    std::string texts = Error() + "|" + Extract();
    std::string piece;
    for (long index = 1; (piece = Extract(_variant_t(index))) != "NODATA"; ++index) {
        texts += "|" + piece;
    }
    return texts;
}

}  // namespace tvn::tests
