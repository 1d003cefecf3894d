#pragma once
// Theme whose style properties are read, one expression each, from the fields of a feature.
#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "KrTheme3DStyle.h"
#include "Theme3DBaseExport.h"

namespace KRN {

class KrFeature;
class KrStyle;
struct KrColorValue3D;

/// Custom theme (type code 5): each style property read, one expression each, from a feature's fields
class TR_THEME3D_API KrTheme3DCustom : public KrTheme3DStyle {
public:
    /// A theme with twenty empty expressions, and copies
    ///@{
    KrTheme3DCustom();
    KrTheme3DCustom(const KrTheme3DCustom& other);
    KrTheme3DCustom& operator=(const KrTheme3DCustom& other);
    ///@}
    /// Nothing of its own to release
    ~KrTheme3DCustom() override;

    /// Evaluates the expressions of the geometry's group on the feature into style; false for a
    /// null feature, a feature without geometry or a geometry kind outside the groups
    bool FindStyle(KrFeature* feature, KrStyle& style) const override;
    using KrTheme3DStyle::FindStyle;
    /// "Theme3DCustom" and the alias suffix, whatever the flag
    BSX::BsxUnicodeString GetFieldName(bool alias) const override;
    /// Field types 2, 3, 4 and 16 can drive the theme
    bool CheckFieldType(int fieldType) override;
    /// The theme with its "tdx:FieldExpression" element, or the empty text
    BSX::BsxUnicodeString ToXML(int version, BSX::BsxUnicodeString path) const override;
    /// Reads the expressions from a document; false (logged "EGg040") for an empty text or an unreadable base
    bool FromXML(const BSX::BsxUnicodeString& xml, int version, BSX::BsxUnicodeString path) override;
    /// Appends the query fields of one group: 0 marker, 1 line, 2 fill, anything else model.
    /// Always false; the fields travel through the array.
    bool GetThemeQueryDef(int kind, BSX::BsxArray<BSX::BsxUnicodeString>& fields) override;
    using KrTheme3DStyle::GetThemeQueryDef;
    /// Always true / always 0
    ///@{
    virtual bool IsValid() const;
    virtual int GetHashCode() const;
    ///@}

    /// Empties the twenty expressions; the base state stays
    void SetEmpty();

    /// Field name or expression of each property; empty leaves the property alone
    ///@{
    BSX::BsxUnicodeString AltitudeMode;
    BSX::BsxUnicodeString BottomAltitude;
    BSX::BsxUnicodeString ExtendHeight;
    BSX::BsxUnicodeString BillboardMode;
    BSX::BsxUnicodeString MarkerStyle;
    BSX::BsxUnicodeString IconName;
    BSX::BsxUnicodeString IconScale;
    BSX::BsxUnicodeString ColorPoint;
    BSX::BsxUnicodeString LineStyle;
    BSX::BsxUnicodeString LineWidth;
    BSX::BsxUnicodeString LineColor;
    BSX::BsxUnicodeString FillStyle;
    BSX::BsxUnicodeString Fill3DMode;
    BSX::BsxUnicodeString FillForeColor;
    BSX::BsxUnicodeString ScaleX;
    BSX::BsxUnicodeString ScaleY;
    BSX::BsxUnicodeString ScaleZ;
    BSX::BsxUnicodeString RotateX;
    BSX::BsxUnicodeString RotateY;
    BSX::BsxUnicodeString RotateZ;
    ///@}

protected:
    /// Copies the base state and the twenty expressions from other (other is unchanged)
    void Swap(const KrTheme3DCustom& other);

    /// Query-field group builders: "expression as <field name><number>" per non-empty expression.
    /// The bool ones answer whether the array grew, nested groups included.
    ///@{
    void GetCommonFieldName(BSX::BsxArray<BSX::BsxUnicodeString>& fields) const;
    bool GetLineFieldName(BSX::BsxArray<BSX::BsxUnicodeString>& fields) const;
    bool GetFillFieldName(BSX::BsxArray<BSX::BsxUnicodeString>& fields) const;
    bool GetMarkerFieldName(BSX::BsxArray<BSX::BsxUnicodeString>& fields) const;
    bool GetModelFieldName(BSX::BsxArray<BSX::BsxUnicodeString>& fields) const;
    ///@}

    /// An expression's value on the feature as a number / as text; false when the expression is
    /// empty or the value cannot be read or converted
    ///@{
    bool GetFieldValue(const BSX::BsxUnicodeString& expression, KrFeature* feature, double& value) const;
    bool GetFieldValue(const BSX::BsxUnicodeString& expression, KrFeature* feature, BSX::BsxUnicodeString& value) const;
    ///@}

private:
    /// An expression's value rounded to a 32-bit code / as a packed colour (rounded or truncated)
    bool ReadCode(const BSX::BsxUnicodeString& expression, KrFeature* feature, int& code) const;
    bool ReadColor(const BSX::BsxUnicodeString& expression, KrFeature* feature, bool truncate, KrColorValue3D& color) const;
    /// Style steps of the property groups, in evaluation order
    void ApplyCommon(KrFeature* feature, KrStyle& style) const;
    void ApplyMarker(KrFeature* feature, KrStyle& style) const;
    void ApplyModelTransform(KrFeature* feature, KrStyle& style) const;
    void ApplyFill(KrFeature* feature, KrStyle& style) const;
    void ApplyLine(KrFeature* feature, KrStyle& style) const;
};

} // namespace KRN
