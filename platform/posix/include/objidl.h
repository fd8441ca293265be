#pragma once

#include <unknwn.h>

inline constexpr DWORD DVASPECT_CONTENT = 1;
inline constexpr DWORD TYMED_HGLOBAL = 1;
inline constexpr DWORD STGM_READ = 0;

struct FORMATETC {
    WORD cfFormat;
    struct DVTARGETDEVICE* ptd;
    DWORD dwAspect;
    LONG lindex;
    DWORD tymed;
};

struct STGMEDIUM {
    DWORD tymed;
    HGLOBAL hGlobal;
    IUnknown* pUnkForRelease;
};

struct IEnumFORMATETC;
struct IAdviseSink;
struct IEnumSTATDATA;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct IDataObject : IUnknown {
    virtual HRESULT GetData(FORMATETC* format, STGMEDIUM* medium) = 0;
    virtual HRESULT GetDataHere(FORMATETC* format, STGMEDIUM* medium) = 0;
    virtual HRESULT QueryGetData(FORMATETC* format) = 0;
    virtual HRESULT GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) = 0;
    virtual HRESULT SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release) = 0;
    virtual HRESULT EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) = 0;
    virtual HRESULT DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* id) = 0;
    virtual HRESULT DUnadvise(DWORD id) = 0;
    virtual HRESULT EnumDAdvise(IEnumSTATDATA** connections) = 0;
};

// Declares the vtable up to the last method that is called.
struct IPersistFile : IUnknown {
    virtual HRESULT GetClassID(CLSID* clsid) = 0;
    virtual HRESULT IsDirty() = 0;
    virtual HRESULT Load(LPCOLESTR name, DWORD mode) = 0;
};

#pragma GCC diagnostic pop

inline constexpr IID IID_IDataObject = {0x10E, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IPersistFile = {0x10B, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

void ReleaseStgMedium(STGMEDIUM* medium) noexcept;
