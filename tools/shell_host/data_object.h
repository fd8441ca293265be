#pragma once

#include <windows.h>

#include <objidl.h>

#include <atomic>

namespace shell_host {

// Base of data objects: counts references and offers no data. A derived class overrides GetData.
class DataObject : public IDataObject {
  public:
    DataObject() = default;
    DataObject(const DataObject&) = delete;
    DataObject& operator=(const DataObject&) = delete;

    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    STDMETHODIMP QueryGetData(FORMATETC*) noexcept override { return DV_E_FORMATETC; }
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) noexcept override {
        return E_NOTIMPL;
    }
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) noexcept override {
        return OLE_E_ADVISENOTSUPPORTED;
    }
    STDMETHODIMP DUnadvise(DWORD) noexcept override { return OLE_E_ADVISENOTSUPPORTED; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) noexcept override { return OLE_E_ADVISENOTSUPPORTED; }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override {
        if (riid != IID_IUnknown && riid != IID_IDataObject) {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        *ppv = this;
        AddRef();
        return S_OK;
    }

  protected:
    virtual ~DataObject() = default;

  private:
    std::atomic<ULONG> references_ = 1;
};

}  // namespace shell_host
