#pragma once
// Unique-values theme: every distinct value of an expression has an item of its own (style,
// caption, visibility, modelling flag); values without an item get the default style.
#include <map>

#include "BsxArray.h"
#include "BsxDict.h"
#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "KrStyle.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DStyle.h"
#include "KrThemeRules.h"
#include "Theme3DBaseExport.h"

namespace KRN {

class KrRecordset;

/// Unique-values theme (type code 1): an item per distinct value, the default style for the rest
class TR_THEME3D_API KrTheme3DUnique : public KrTheme3DStyle {
public:
    /// An empty theme, and deep copies (items duplicated)
    ///@{
    KrTheme3DUnique();
    KrTheme3DUnique(const KrTheme3DUnique& other);
    KrTheme3DUnique& operator=(const KrTheme3DUnique& other);
    ///@}
    /// Deletes the items
    ~KrTheme3DUnique() override;

    /// Style for a field value: reals match keys numerically (first key in display order within
    /// the tolerance), every other value by its text; null for an invisible text match
    KrStyle* FindStyle(const BSX::BsxVariant& value) const override;
    using KrTheme3DStyle::FindStyle;
    /// The matching visible item's flag, else the default flag
    bool IsModellingStyleEnabled(const BSX::BsxVariant& value) const override;
    /// "Theme3DUnique" and the alias suffix; with alias "<expression> as Theme3DUnique<suffix>"
    BSX::BsxUnicodeString GetFieldName(bool alias) const override;
    /// The expression as set
    BSX::BsxUnicodeString GetExpression() const override;
    /// Field types 1, 2, 3, 4, 6, 7, 10 and 16 can drive the theme
    bool CheckFieldType(int fieldType) override;
    /// The theme's document, or the empty text for an unsupported version
    BSX::BsxUnicodeString ToXML(int version, BSX::BsxUnicodeString path) const override;
    /// Replaces the entries from a document; false for an empty text, an unreadable base or another kind
    bool FromXML(const BSX::BsxUnicodeString& xml, int version, BSX::BsxUnicodeString path) override;
    /// Record sets are not classified by this theme: always false
    virtual bool FindStyle(KrRecordset* records, KrStyle& style) const;

    /// Entry management: the theme stores its own copy of item
    bool Add(const BSX::BsxUnicodeString& value, const KrTheme3DItem& item);
    /// As Add, at a display position (past the end or negative: at the end)
    bool InsertItem(int index, const BSX::BsxUnicodeString& value, const KrTheme3DItem& item);
    /// Re-keys an entry; an empty or existing value leaves the theme unchanged
    void SetValueAt(int index, const BSX::BsxUnicodeString& value);
    /// Removes up to count entries from index; answers how many went
    int RemoveAt(int index, int count);
    /// Every entry goes; expression and defaults stay
    void RemoveAll();

    /// Queries by key (exact text, no external values, no visibility test)
    ///@{
    KrTheme3DItem* Find(const BSX::BsxUnicodeString& value) const;
    bool IsExist(const BSX::BsxUnicodeString& value) const;
    bool FindCaption(const BSX::BsxUnicodeString& value, BSX::BsxUnicodeString& caption) const;
    ///@}
    /// Style for a text key: default for empty or unknown keys, null for an invisible item
    KrStyle* FindStyle(const BSX::BsxUnicodeString& value) const;
    /// A literal key is a text key (a variant could be made from it as well)
    KrStyle* FindStyle(const wchar_t* value) const { return FindStyle(BSX::BsxUnicodeString(value)); }

    /// Queries and setters by display index (the array's bound check applies)
    ///@{
    int GetCount() const;
    BSX::BsxUnicodeString GetValueAt(int index) const;
    KrTheme3DItem* GetAt(int index) const;
    BSX::BsxUnicodeString GetCaptionAt(int index) const;
    const KrStyle& GetStyleAt(int index) const;
    bool IsVisibleAt(int index) const;
    void SetCaptionAt(int index, const BSX::BsxUnicodeString& caption);
    void SetStyleAt(int index, KrStyle style);
    void SetVisibleAt(int index, bool visible);
    ///@}

    /// Defaults: the style and modelling flag of values without an item
    ///@{
    const KrStyle& GetDefaultStyle() const { return DefaultStyle; }
    void SetDefaultStyle(const KrStyle& style) { DefaultStyle = style; }
    bool GetDefaultModellingStyleEnabled() const { return DefaultModellingStyleEnabled; }
    void SetDefaultModellingStyleEnabled(bool enabled) { DefaultModellingStyleEnabled = enabled; }
    ///@}

    /// Expression and the single field expressions split from it at "[#]"
    ///@{
    void SetExpression(const BSX::BsxUnicodeString& expression);
    const BSX::BsxArray<BSX::BsxUnicodeString>& GetFieldExpressions() const { return FieldExpressions; }
    ///@}
    /// At least one value
    bool IsValidValueCount(int count) const;

protected:
    /// Copies other into this theme (deep; other is unchanged)
    void Swap(const KrTheme3DUnique& other);
    /// The visible item for a value, after external values; null otherwise. Never logs.
    KrTheme3DItem* FindThemeItem(const BSX::BsxVariant& value) const;
    /// Deletes the items of the display range and drops their keys from Items (not from Values)
    bool RemoveTheme3DItems(int index, int count);
    /// Deletes every item and empties Items
    void Release();

    /// State: expression and its fields, owned items by key, keys in display order, defaults
    ///@{
    BSX::BsxUnicodeString Expression;
    BSX::BsxArray<BSX::BsxUnicodeString> FieldExpressions;
    BSX::BsxDict<BSX::BsxUnicodeString, KrTheme3DItem*> Items;
    BSX::BsxArray<BSX::BsxUnicodeString> Values;
    KrStyle DefaultStyle;
    bool DefaultModellingStyleEnabled = false;
    ///@}

private:
    /// Outcome of mapping a text through the external-value table
    enum class Mapping { Unchanged, Mapped, Missing };
    Mapping MapExternal(const BSX::BsxUnicodeString& in, BSX::BsxUnicodeString& out) const;
    /// The number a real variant is matched with; false when mode 1 finds no external value
    bool NumberToMatch(const BSX::BsxVariant& value, double& number) const;
    /// First entry in display order whose key is within the tolerance of number; null for none
    KrTheme3DItem* FindNumeric(double number) const;

    /// Numeric index over the keys: key number -> display position. Keys whose number is not
    /// finite can never match and are left out. Kept in step with Values by every edit.
    void IndexAdd(const BSX::BsxUnicodeString& key, int position);
    void IndexRemove(const BSX::BsxUnicodeString& key, int position);
    /// Positions from `from` on move by delta
    void IndexShift(int from, int delta);
    /// Positions [from, from+count) go, the ones after them move down by count
    void IndexErase(int from, int count);
    /// Orders key numbers, and places them below, inside or above the tolerance window of a
    /// looked-up number with the very difference the matching rule uses
    struct Window {
        double number;
    };
    struct NumericOrder {
        using is_transparent = void;
        bool operator()(double a, double b) const { return a < b; }
        bool operator()(double key, const Window& w) const { return key - w.number <= -ThemeRules::kTolerance; }
        bool operator()(const Window& w, double key) const { return key - w.number >= ThemeRules::kTolerance; }
    };
    std::multimap<double, int, NumericOrder> m_numeric;
};

} // namespace KRN
