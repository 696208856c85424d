#include "comserver/ClassFactory.h"

namespace comserver
{

ClassFactory::ClassFactory(Module& module, const ClassEntry& entry) noexcept
    : m_module(module), m_entry(entry)
{
    m_module.Lock();
}

ClassFactory::~ClassFactory()
{
    m_module.Unlock();
}

HRESULT ClassFactory::QueryInterface(REFIID iid, void** object)
{
    if (object == nullptr) {
        return E_POINTER;
    }
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IClassFactory)) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    *object = static_cast<IClassFactory*>(this);
    return S_OK;
}

ULONG ClassFactory::AddRef()
{
    return ++m_references;
}

ULONG ClassFactory::Release()
{
    const ULONG left = --m_references;
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object)
{
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (outer != nullptr && !IsEqualIID(iid, IID_IUnknown)) {
        return CLASS_E_NOAGGREGATION;
    }
    return m_entry.create(m_module, outer, iid, object);
}

HRESULT ClassFactory::LockServer(BOOL lock)
{
    if (lock) {
        m_module.Lock();
    } else {
        m_module.Unlock();
    }
    return S_OK;
}

}  // namespace comserver
