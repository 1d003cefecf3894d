#pragma once
// Base of the kinds drawn in place of or beside the feature (label, graph).
#include "KrTheme3D.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// Base of the kinds drawn in place of or beside the feature (label, graph)
class TR_THEME3D_API KrTheme3DSymbol : public KrTheme3D {
public:
    /// The base state only: construction and copies
    ///@{
    KrTheme3DSymbol();
    KrTheme3DSymbol(const KrTheme3DSymbol& other);
    KrTheme3DSymbol& operator=(const KrTheme3DSymbol& other);
    ///@}
    /// Nothing of its own to release
    ~KrTheme3DSymbol() override;

    /// No query definition of the second form: false, the array untouched
    bool GetThemeQueryDef(BSX::BsxArray<BSX::BsxUnicodeString>& fields, bool alias) override;
    /// No geometry
    KrGeometry* ConvertToGeometry(double* values, unsigned int count, const BSX::BsxPoint3D& position) override;
    /// Nothing to attach
    void Attach(double* values, int count) override;

    using KrTheme3D::GetThemeQueryDef;
};

} // namespace KRN
