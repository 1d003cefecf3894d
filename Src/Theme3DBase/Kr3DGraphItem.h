#pragma once
// One item of a statistical chart: its number comes from a field expression evaluated on each
// feature (field item) or from constants picked by the feature's key (array item).
#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "KrStyle.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// One item of a statistical chart: a field expression per feature, or constants per key
class TR_THEME3D_API Kr3DGraphItem {
public:
    /// Where an item's number comes from
    enum ItemType : int {
        FieldItem = 1, ///< the field expression evaluated on each feature
        ArrayItem = 2  ///< the constant at the feature's key position in ArrayValues
    };

    /// A field item with an empty expression
    Kr3DGraphItem();
    /// Default construction, then assignment
    Kr3DGraphItem(const Kr3DGraphItem& other);
    /// Copies expression, caption, style and type; the array values only when other has some
    Kr3DGraphItem& operator=(const Kr3DGraphItem& other);
    /// Moving construction takes everything; moving assignment follows the copying rule
    ///@{
    Kr3DGraphItem(Kr3DGraphItem&& other) noexcept;
    Kr3DGraphItem& operator=(Kr3DGraphItem&& other) noexcept;
    ///@}
    /// Nothing beyond the members
    virtual ~Kr3DGraphItem();

    /// The "tdx:GraphItem" record
    BSX::BsxUnicodeString ToXML(int version) const;
    /// Reads a "tdx:GraphItem" record; false (logged, item unchanged) when the text is empty or
    /// holds no such element
    bool FromXML(const BSX::BsxUnicodeString& xml, int version);

    BSX::BsxUnicodeString FieldExpression; ///< expression of a field item
    BSX::BsxUnicodeString Caption;         ///< text shown in legends
    KrStyle Style;                         ///< style of the item's bar or slice
    int Type = FieldItem;                  ///< an ItemType value
    /// Value k belongs to the key at position k of the theme's key list
    BSX::BsxArray<double> ArrayValues;
};

} // namespace KRN
