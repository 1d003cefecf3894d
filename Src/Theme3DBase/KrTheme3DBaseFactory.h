#pragma once
// The module's theme factory: names the module, reports its five kinds, creates and clones themes.
#include "KrTheme3DFactory.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// The module's theme factory: names the module, reports its five kinds, creates and clones themes
class TR_THEME3D_API KrTheme3DBaseFactory : public KrTheme3DFactory {
public:
    /// A factory has no state
    KrTheme3DBaseFactory();
    /// Stateless: copying copies nothing
    ///@{
    KrTheme3DBaseFactory(const KrTheme3DBaseFactory& other);
    KrTheme3DBaseFactory& operator=(const KrTheme3DBaseFactory& other);
    ///@}
    /// Themes it created live on
    ~KrTheme3DBaseFactory() override;

    /// True for the type codes 1 to 5
    bool IsSupportTheme3D(int type) override;
    /// Appends 1, 2, 3, 4, 5 to types (keeping what it held); answers its new size
    int GetSupportTheme3DType(BSX::BsxArray<int>& types) override;
    /// "Terrasyn BaseTheme3Ds"
    BSX::BsxUnicodeString GetName() override;
    /// A new empty theme of the kind, owned by the caller; null for an unknown code
    KrTheme3D* NewTheme3D(int type) override;
    /// A new deep copy of source, made by the kind its type code names; null for a null source,
    /// an unknown code, or a theme whose class is not the one its code names
    KrTheme3D* CloneTheme3D(KrTheme3D* source) override;
};

} // namespace KRN
