#pragma once
// One item of a statistical chart: its number comes from a field expression evaluated on each
// feature (field item) or from constants picked by the feature's key (array item).
#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "KrStyle.h"
#include "Theme3DBaseExport.h"

namespace KRN {

class TR_THEME3D_API Kr3DGraphItem {
public:
    enum ItemType : int { FieldItem = 1, ArrayItem = 2 };

    Kr3DGraphItem();
    // Default construction, then assignment
    Kr3DGraphItem(const Kr3DGraphItem& other);
    // Copies expression, caption, style and type; the array values only when other has some
    Kr3DGraphItem& operator=(const Kr3DGraphItem& other);
    // Moving construction takes everything; moving assignment follows the copying rule
    Kr3DGraphItem(Kr3DGraphItem&& other) noexcept;
    Kr3DGraphItem& operator=(Kr3DGraphItem&& other) noexcept;
    virtual ~Kr3DGraphItem();

    // The "tdx:GraphItem" record
    BSX::BsxUnicodeString ToXML(int version) const;
    // Reads a "tdx:GraphItem" record; false (logged, item unchanged) when the text is empty or
    // holds no such element
    bool FromXML(const BSX::BsxUnicodeString& xml, int version);

    BSX::BsxUnicodeString FieldExpression;
    BSX::BsxUnicodeString Caption;
    KrStyle Style;
    int Type = FieldItem;
    // Value k belongs to the key at position k of the theme's key list
    BSX::BsxArray<double> ArrayValues;
};

} // namespace KRN
