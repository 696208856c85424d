#pragma once

#include <unknwn.h>

#include <atomic>

#include "comserver/Module.h"

namespace comserver
{

/// The class factory of one entry of the object map. Lives on the heap as long as it is referenced;
/// starts without a reference.
class ClassFactory final : public IClassFactory
{
  public:
    ClassFactory(Module& module, const ClassEntry& entry) noexcept;
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    /// Makes a new object; one that is to be aggregated can only be asked for its IUnknown.
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

  private:
    virtual ~ClassFactory();

    Module& m_module;
    const ClassEntry& m_entry;
    std::atomic<ULONG> m_references{0};
};

}  // namespace comserver
