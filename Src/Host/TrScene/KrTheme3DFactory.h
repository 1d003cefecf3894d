#pragma once
// The host scene library's base class of theme factories.
#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "KrTheme3D.h"

namespace KRN {

class KrTheme3DFactory {
public:
    KrTheme3DFactory() = default;
    virtual ~KrTheme3DFactory();                                         // 0
    virtual bool IsSupportTheme3D(int type) = 0;                         // 1
    virtual int GetSupportTheme3DType(BSX::BsxArray<int>& types) = 0;    // 2
    virtual BSX::BsxUnicodeString GetName() = 0;                         // 3
    virtual KrTheme3D* NewTheme3D(int type) = 0;                         // 4
    virtual KrTheme3D* CloneTheme3D(KrTheme3D* source) = 0;              // 5
};

// Signature of the plug-in entry point
using CreateTheme3DFactoryFn = KrTheme3DFactory* (*)();

} // namespace KRN
