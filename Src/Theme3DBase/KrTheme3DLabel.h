#pragma once
// The label theme (type code 3): turns a feature's value into label text by value kind and
// number format, drawn with the theme's text style.
#include "BsxArray.h"
#include "BsxDict.h"
#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "KrLabelNumberFormat.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DSymbol.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// Label theme (type code 3): label text from a feature's value, drawn with the theme's text style
class TR_THEME3D_API KrTheme3DLabel : public KrTheme3DSymbol {
public:
    /// What a label is made of
    enum KrLabel3DType : int {
        Label3DText = 0,    ///< text
        Label3DSymbol = 1,  ///< a symbol
        Label3DPicture = 2, ///< a picture
        Label3DTable = 3,   ///< a table
    };

    /// An empty text label theme; its text style takes the host's default font face
    KrTheme3DLabel();
    /// Copies everything, items included (each item duplicated)
    KrTheme3DLabel(const KrTheme3DLabel& other);
    /// Copies the base state and the settings; the items, item keys and style stay this theme's own
    KrTheme3DLabel& operator=(const KrTheme3DLabel& other);
    /// Deletes the items
    ~KrTheme3DLabel() override;

    /// Stores a copy of item under key; false, nothing changed, when the key exists
    bool Add(const BSX::BsxUnicodeString& key, const KrTheme3DItem& item);
    /// The item stored under key, or null
    KrTheme3DItem* Find(const BSX::BsxUnicodeString& key) const;
    /// Whether an item is stored under key
    bool IsExist(const BSX::BsxUnicodeString& key) const;
    /// The item keys in the order Add accepted them
    const BSX::BsxArray<BSX::BsxUnicodeString>& GetItemKeys() const { return m_itemKeys; }

    /// The expression whose value becomes the label
    ///@{
    BSX::BsxUnicodeString GetExpression() const override;
    void SetExpression(BSX::BsxUnicodeString expression);
    ///@}

    /// Label type, stored unchecked (both setters are the same operation)
    ///@{
    KrLabel3DType GetLabel3DType() const { return m_labelType; }
    void SetLabel3DType(KrLabel3DType type);
    void SetLabelType(KrLabel3DType type);
    ///@}

    /// The number format as set, leading "%" included
    BSX::BsxUnicodeString GetNumFormat() const;
    /// Stores format when it can format a floating value; otherwise logs "EGi063" and empties
    /// the format. An empty format (or one of "%" only) selects the default "%.10f".
    void SetNumFormat(const BSX::BsxUnicodeString& format);

    /// The theme's own text style (not a copy)
    ///@{
    KrTextStyle* GetTextStyle() override;
    void SetTextStyle(KrTextStyle& style);
    ///@}

    /// A style carried with the theme; nothing here reads or persists it
    ///@{
    const KrStyle& GetStyle() const { return m_style; }
    void SetStyle(const KrStyle& style) { m_style = style; }
    ///@}

    /// Whether labels follow lines (the label theme's own flag, persisted with it)
    ///@{
    void SetAlonglineText(bool along) override;
    bool IsAlonglineText() override;
    ///@}

    /// "Theme3DLabel" and the alias suffix; with alias, "<expression> as Theme3DLabel<suffix>"
    /// (empty for an empty expression)
    BSX::BsxUnicodeString GetFieldName(bool alias) const override;

    /// Label text of a value, by its kind and the number format
    BSX::BsxUnicodeString GetStringFromVariant(const BSX::BsxVariant& value) override;

    /// Persistence: expression, number format, along-line flag, label type and text style
    ///@{
    BSX::BsxUnicodeString ToXML(int version, BSX::BsxUnicodeString path) const override;
    bool FromXML(const BSX::BsxUnicodeString& xml, int version, BSX::BsxUnicodeString path) override;
    ///@}

protected:
    /// Copies the base state, label type, expression, text style, along-line flag and number
    /// format from other (a copy, not an exchange)
    void Swap(const KrTheme3DLabel& other);

private:
    void Release();
    /// Prepares the floating conversion for the current number format
    void CompileNumFormat();

    BSX::BsxUnicodeString m_expression;
    KrTextStyle m_textStyle;
    KrLabel3DType m_labelType = Label3DText;
    BSX::BsxDict<BSX::BsxUnicodeString, KrTheme3DItem*> m_items;
    BSX::BsxArray<BSX::BsxUnicodeString> m_itemKeys;
    KrStyle m_style;
    bool m_alongline = false;
    BSX::BsxUnicodeString m_numFormat;

    /// Derived from m_numFormat whenever it changes, so formatting a value does no parsing
    KrLabelNumberFormat m_floatFormat;
    bool m_defaultFormatInUse = true;
};

} // namespace KRN
