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

class KrTheme3D {
public:
    enum KrTheme3DType : int {
        Theme3DNone = 0,
        Theme3DUnique = 1,
        Theme3DRange = 2,
        Theme3DLabel = 3,
        Theme3DGraph = 4,
        Theme3DCustom = 5,
    };

    KrTheme3D() = default;
    KrTheme3D(const KrTheme3D& other) = default;
    KrTheme3D& operator=(const KrTheme3D& other) = default;

    // Virtual interface, in slot order
    virtual ~KrTheme3D();                                                                   // 0
    virtual bool FindStyle(KrFeature* feature, KrStyle& style) const;                         // 1
    virtual KrStyle* FindStyle(const BSX::BsxVariant& value) const;                           // 2
    virtual bool IsModellingStyleEnabled(const BSX::BsxVariant& value) const;                 // 3
    virtual BSX::BsxUnicodeString GetFieldName(bool alias) const;                             // 4
    virtual BSX::BsxUnicodeString GetExpression() const;                                      // 5
    virtual bool CheckFieldType(int fieldType);                                               // 6
    virtual KrTextStyle* GetTextStyle();                                                      // 7
    virtual BSX::BsxUnicodeString ToXML(int version, BSX::BsxUnicodeString path) const;       // 8
    virtual bool FromXML(const BSX::BsxUnicodeString& xml, int version, BSX::BsxUnicodeString path); // 9
    virtual BSX::BsxUnicodeString GetStringFromVariant(const BSX::BsxVariant& value);        // 10
    virtual void SetAlonglineText(bool along);                                                // 11
    virtual bool IsAlonglineText();                                                           // 12
    virtual void SetOffset(int x, int y);                                                     // 13
    virtual void GetOffset(int& x, int& y);                                                   // 14
    virtual bool GetThemeQueryDef(int kind, BSX::BsxArray<BSX::BsxUnicodeString>& fields);    // 15
    virtual bool GetThemeQueryDef(BSX::BsxArray<BSX::BsxUnicodeString>& fields, bool alias);  // 16
    virtual int GetThemeGraphItemType(int index) const;                                       // 17
    virtual void GetThemeGraphValues(double& value, int key, int index);                      // 18
    virtual void CalculateGraphProperty(double value);                                        // 19
    virtual KrGeometry* ConvertToGeometry(double* values, unsigned int count, const BSX::BsxPoint3D& position); // 20
    virtual void Attach(double* values, int count);                                           // 21
    virtual void PrepareTheme();                                                              // 22
    virtual void UpdateTheme();                                                               // 23

    KrTheme3DType GetType() const { return m_type; }
    void SetModifiedFlag(bool modified) { m_modified = modified; }
    bool IsModified() const { return m_modified; }
    bool IsNeedUpdate() const { return m_needUpdate; }

    // Looks key up in the external-value table; on a hit writes the entry to value and answers
    // true, on a miss leaves value alone. key and value may be the same string.
    bool GetExternalValue(const BSX::BsxUnicodeString& key, BSX::BsxUnicodeString& value) const;

    // Text form of a value (BsxVariant::ToString)
    static BSX::BsxUnicodeString Variant2String(const BSX::BsxVariant& value);
    // Numbers and date-times convert; a text converts when all of it is a decimal number
    // (surrounding blanks allowed); null and blobs do not
    static bool Variant2Double(const BSX::BsxVariant& value, double& number);

    // Host-side settings
    void SetExternalValueMode(int mode) { m_externalValueMode = mode; }
    int GetExternalValueMode() const { return m_externalValueMode; }
    void SetAliasSuffix(const BSX::BsxUnicodeString& suffix) { m_aliasSuffix = suffix; }
    const BSX::BsxUnicodeString& GetAliasSuffix() const { return m_aliasSuffix; }
    void SetExternalValue(const BSX::BsxUnicodeString& key, const BSX::BsxUnicodeString& value) { m_externalValues.SetAt(key, value); }
    void RemoveAllExternalValues() { m_externalValues.RemoveAll(); }

protected:
    // Copies the base state of other into this theme (a copy, not an exchange)
    void Swap(const KrTheme3D& other) { *this = other; }
    void SetNeedUpdate(bool need) { m_needUpdate = need; }

    KrTheme3DType m_type = Theme3DNone;
    int m_externalValueMode = 0;
    BSX::BsxUnicodeString m_aliasSuffix;

private:
    bool m_modified = false;
    bool m_needUpdate = false;
    int m_offsetX = 0;
    int m_offsetY = 0;
    bool m_alongline = false;
    BSX::BsxDict<BSX::BsxUnicodeString, BSX::BsxUnicodeString> m_externalValues;
};

} // namespace KRN
