#include "server/class_factory.h"

#include "common/com_object.h"
#include "menu/shell_ext.h"
#include "server/module.h"

namespace kelvaro {
namespace {

// Creates extension objects. Every DllGetClassObject call creates its own factory.
class KelvaroClassFactory final : public IClassFactory {
  public:
    KelvaroClassFactory() noexcept { ++g_objectCount; }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override {
        if (ppv == nullptr) {
            return E_POINTER;
        }
        *ppv = nullptr;
        if (riid != IID_IUnknown && riid != IID_IClassFactory) {
            return E_NOINTERFACE;
        }
        *ppv = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }

    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++refCount; }

    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = --refCount;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    STDMETHODIMP CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppv) noexcept override {
        return pUnkOuter == nullptr ? CreateShellExt(riid, ppv) : CLASS_E_NOAGGREGATION;
    }

    STDMETHODIMP LockServer(BOOL fLock) noexcept override {
        if (fLock) {
            ++g_objectCount;
        } else {
            --g_objectCount;
        }
        return S_OK;
    }

  private:
    ~KelvaroClassFactory() { --g_objectCount; }

    std::atomic<ULONG> refCount = 1;
};

}  // namespace

HRESULT CreateClassFactory(REFIID riid, void** ppv) noexcept {
    return CreateObject<KelvaroClassFactory>(riid, ppv);
}

}  // namespace kelvaro
