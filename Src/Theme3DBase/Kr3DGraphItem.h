#pragma once
// One item of a statistical chart: its number comes from a field expression evaluated on each
// feature (field item) or from constants picked by the feature's key (array item).
#include <vector>

#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "KrMarkup.h"
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

namespace GraphXml {
struct NumberedChild {
    int index;
    BSX::BsxUnicodeString text;
};
// The numbered children "<prefix>0" to "<prefix>(count-1)" that follow the current child, as
// count forward searches for them in turn would find them, in ascending order of index. The
// work is bounded by the children the document holds, not by count.
std::vector<NumberedChild> ReadNumberedChildren(KrMarkup& markup, const wchar_t* prefix, int count);
// Number of entries a claimed count may make: never more than the document has characters,
// since a document cannot describe more entries than that
int ClampClaimedCount(int claimed, const BSX::BsxUnicodeString& document);
} // namespace GraphXml

} // namespace KRN
