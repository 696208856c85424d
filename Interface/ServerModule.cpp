#include "Interface/ServerModule.h"

#include "Interface/App.h"
#include "comserver/ComObject.h"

namespace tvn
{
namespace
{

const comserver::ClassEntry g_objectMap[] = {
    {CLSID_App, &comserver::ComObject<CApp>::Create},
};

}  // namespace

comserver::Module g_module(g_objectMap,
                           {LIBID_Talvern, 1, 0,
                            MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT),
                            IID_IApp});

}  // namespace tvn
