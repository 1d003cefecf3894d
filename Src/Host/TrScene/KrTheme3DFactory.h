#pragma once
// The host scene library's base class of theme factories.
#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "KrTheme3D.h"

namespace KRN {

/// Base class of theme factories: a plug-in hands one out from CreateTheme3DFactory
class KrTheme3DFactory {
public:
    /// Nothing to set up
    KrTheme3DFactory() = default;
    /// Releases the factory; themes it created live on (slot 0)
    virtual ~KrTheme3DFactory();                                         // 0
    /// Whether the factory creates themes of that type code (slot 1)
    virtual bool IsSupportTheme3D(int type) = 0;                         // 1
    /// Appends the supported type codes to types; answers its new size (slot 2)
    virtual int GetSupportTheme3DType(BSX::BsxArray<int>& types) = 0;    // 2
    /// Display name of the plug-in (slot 3)
    virtual BSX::BsxUnicodeString GetName() = 0;                         // 3
    /// A new empty theme of the type code, owned by the caller; null for an unknown code (slot 4)
    virtual KrTheme3D* NewTheme3D(int type) = 0;                         // 4
    /// A new deep copy of source, owned by the caller; null when it cannot be made (slot 5)
    virtual KrTheme3D* CloneTheme3D(KrTheme3D* source) = 0;              // 5
};

/// Signature of the plug-in entry point
using CreateTheme3DFactoryFn = KrTheme3DFactory* (*)();

} // namespace KRN
