#pragma once
// The host scene library's base class of every 3D theme.
#include "BsxArray.h"
#include "BsxDict.h"
#include "BsxGeometry.h"
#include "BsxUnicodeString.h"
#include "BsxVariant.h"

namespace KRN {

class KrFeature;
class KrGeometry;
class KrStyle;
class KrTextStyle;

/// Base class of every 3D theme: the host draws a layer by calling these 24 virtual slots
class KrTheme3D {
public:
    /// Type codes of the theme kinds
    enum KrTheme3DType : int {
        Theme3DNone = 0,   ///< the base itself, before a kind writes its code
        Theme3DUnique = 1, ///< unique values
        Theme3DRange = 2,  ///< value ranges
        Theme3DLabel = 3,  ///< labels
        Theme3DGraph = 4,  ///< 3D statistical charts
        Theme3DCustom = 5, ///< field-driven custom styles
    };

    /// An empty theme of no kind, and copies of the base state
    ///@{
    KrTheme3D() = default;
    KrTheme3D(const KrTheme3D& other) = default;
    KrTheme3D& operator=(const KrTheme3D& other) = default;
    ///@}

    // Virtual interface, in slot order (the slot number ends each line)
    /// Releases the theme and everything it owns (slot 0)
    virtual ~KrTheme3D();                                                                   // 0
    /// Writes the style for one feature into style; false when the theme does not style features (slot 1)
    virtual bool FindStyle(KrFeature* feature, KrStyle& style) const;                         // 1
    /// Style for one field value, owned by the theme, or null (slot 2)
    virtual KrStyle* FindStyle(const BSX::BsxVariant& value) const;                           // 2
    /// Whether the modelling style is enabled for the value (slot 3)
    virtual bool IsModellingStyleEnabled(const BSX::BsxVariant& value) const;                 // 3
    /// Name of the theme's query field; with alias, the expression aliased to it (slot 4)
    virtual BSX::BsxUnicodeString GetFieldName(bool alias) const;                             // 4
    /// The theme's field expression (slot 5)
    virtual BSX::BsxUnicodeString GetExpression() const;                                      // 5
    /// Whether a field of that type can drive the theme (slot 6)
    virtual bool CheckFieldType(int fieldType);                                               // 6
    /// The theme's text style, null when it has none (slot 7)
    virtual KrTextStyle* GetTextStyle();                                                      // 7
    /// The theme as a "tdx:Theme3D" document of a format version; icon paths made relative to path (slot 8)
    virtual BSX::BsxUnicodeString ToXML(int version, BSX::BsxUnicodeString path) const;       // 8
    /// Restores the theme from a document; false when it cannot (slot 9)
    virtual bool FromXML(const BSX::BsxUnicodeString& xml, int version, BSX::BsxUnicodeString path); // 9
    /// Text shown for a value (slot 10)
    virtual BSX::BsxUnicodeString GetStringFromVariant(const BSX::BsxVariant& value);        // 10
    /// Whether text follows lines (slots 11 and 12)
    ///@{
    virtual void SetAlonglineText(bool along);                                                // 11
    virtual bool IsAlonglineText();                                                           // 12
    ///@}
    /// Two offsets kept by the base (slots 13 and 14)
    ///@{
    virtual void SetOffset(int x, int y);                                                     // 13
    virtual void GetOffset(int& x, int& y);                                                   // 14
    ///@}
    /// Fields that must be queried for the theme; false when there are none (slots 15 and 16)
    ///@{
    virtual bool GetThemeQueryDef(int kind, BSX::BsxArray<BSX::BsxUnicodeString>& fields);    // 15
    virtual bool GetThemeQueryDef(BSX::BsxArray<BSX::BsxUnicodeString>& fields, bool alias);  // 16
    ///@}
    /// Chart item type at index (slot 17)
    virtual int GetThemeGraphItemType(int index) const;                                       // 17
    /// Chart value of a key and item (slot 18)
    virtual void GetThemeGraphValues(double& value, int key, int index);                      // 18
    /// Chart property for a value (slot 19)
    virtual void CalculateGraphProperty(double value);                                        // 19
    /// Geometry standing for one feature at position, owned by the caller; null when none (slot 20)
    virtual KrGeometry* ConvertToGeometry(double* values, unsigned int count, const BSX::BsxPoint3D& position); // 20
    /// Hands the theme a block of values (slot 21)
    virtual void Attach(double* values, int count);                                           // 21
    /// First half of the refresh cycle: snapshot the edited state (slot 22)
    virtual void PrepareTheme();                                                              // 22
    /// Second half of the refresh cycle: the snapshot becomes what drawing reads (slot 23)
    virtual void UpdateTheme();                                                               // 23

    /// The kind's type code
    KrTheme3DType GetType() const { return m_type; }
    /// Changed since last saved or drawn
    ///@{
    void SetModifiedFlag(bool modified) { m_modified = modified; }
    bool IsModified() const { return m_modified; }
    ///@}
    /// Whether a prepared state waits for UpdateTheme
    bool IsNeedUpdate() const { return m_needUpdate; }

    /// Looks key up in the external-value table; on a hit writes the entry to value and answers
    /// true, on a miss leaves value alone. key and value may be the same string.
    bool GetExternalValue(const BSX::BsxUnicodeString& key, BSX::BsxUnicodeString& value) const;

    /// Text form of a value (BsxVariant::ToString)
    static BSX::BsxUnicodeString Variant2String(const BSX::BsxVariant& value);
    /// Numbers and date-times convert; a text converts when all of it is a decimal number
    /// (surrounding blanks allowed); null and blobs do not
    static bool Variant2Double(const BSX::BsxVariant& value, double& number);

    /// External-value mode: 0 values used as they are, 1 translation required, 2 translation optional
    ///@{
    void SetExternalValueMode(int mode) { m_externalValueMode = mode; }
    int GetExternalValueMode() const { return m_externalValueMode; }
    ///@}
    /// Text appended to the kind's prefix in the query field's name
    ///@{
    void SetAliasSuffix(const BSX::BsxUnicodeString& suffix) { m_aliasSuffix = suffix; }
    const BSX::BsxUnicodeString& GetAliasSuffix() const { return m_aliasSuffix; }
    ///@}
    /// Fills or empties the external-value table
    ///@{
    void SetExternalValue(const BSX::BsxUnicodeString& key, const BSX::BsxUnicodeString& value) { m_externalValues.SetAt(key, value); }
    void RemoveAllExternalValues() { m_externalValues.RemoveAll(); }
    ///@}

protected:
    /// Copies the base state of other into this theme (a copy, not an exchange)
    void Swap(const KrTheme3D& other) { *this = other; }
    /// Marks that a prepared state waits to be taken over
    void SetNeedUpdate(bool need) { m_needUpdate = need; }

    /// Base state the kinds read directly: type code, external-value mode, alias suffix
    ///@{
    KrTheme3DType m_type = Theme3DNone;
    int m_externalValueMode = 0;
    BSX::BsxUnicodeString m_aliasSuffix;
    ///@}

private:
    bool m_modified = false;
    bool m_needUpdate = false;
    int m_offsetX = 0;
    int m_offsetY = 0;
    bool m_alongline = false;
    BSX::BsxDict<BSX::BsxUnicodeString, BSX::BsxUnicodeString> m_externalValues;
};

} // namespace KRN
