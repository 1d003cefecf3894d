#include "KrTheme3DUnique.h"

#include <cmath>

#include "KrMarkup.h"
#include "KrTheme3DItemStore.h"
#include "KrThemeRules.h"
#include "KrThemeXml.h"

namespace KRN {

using BSX::BsxUnicodeString;
using BSX::BsxVariant;

namespace {

const wchar_t kSourceFile[] = L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DUnique";
const wchar_t kFieldPrefix[] = L"Theme3DUnique";
const wchar_t kSeparator[] = L"[#]";
const int kSeparatorLength = 3;

// Element names, shared by the writer and the reader
const wchar_t kDefaultStyle[] = L"tdx:DefaultStyle";
const wchar_t kDefaultModelling[] = L"tdx:DefaultModellingStyleEnabled";
const wchar_t kUniqueItems[] = L"tdx:UniqueItems";
const wchar_t kUniqueItem[] = L"tdx:UniqueItem";
const wchar_t kValue[] = L"tdx:Value";

bool IsReal(const BsxVariant& value)
{
    return value.GetType() == BsxVariant::VT_FLOAT || value.GetType() == BsxVariant::VT_DOUBLE;
}

} // namespace

KrTheme3DUnique::KrTheme3DUnique() { m_type = Theme3DUnique; }

KrTheme3DUnique::KrTheme3DUnique(const KrTheme3DUnique& other) : KrTheme3DStyle(other) { Swap(other); }

KrTheme3DUnique& KrTheme3DUnique::operator=(const KrTheme3DUnique& other)
{
    Swap(other);
    return *this;
}

KrTheme3DUnique::~KrTheme3DUnique() { Release(); }

void KrTheme3DUnique::Swap(const KrTheme3DUnique& other)
{
    if (this == &other) return;
    RemoveAll();
    KrTheme3D::Swap(other);
    Expression = other.Expression;
    FieldExpressions = other.FieldExpressions;
    DefaultStyle = other.DefaultStyle;
    DefaultModellingStyleEnabled = other.DefaultModellingStyleEnabled;
    try {
        ItemStore::CopyAll(other.Items, Items);
        Values = other.Values;
        m_numeric = other.m_numeric;
    } catch (...) {
        RemoveAll();
        throw;
    }
}

// Lookups -----------------------------------------------------------------------------------

KrTheme3DUnique::Mapping KrTheme3DUnique::MapExternal(const BsxUnicodeString& in, BsxUnicodeString& out) const
{
    out = in;
    switch (m_externalValueMode) {
    case 1: return GetExternalValue(in, out) ? Mapping::Mapped : Mapping::Missing;
    case 2: return GetExternalValue(in, out) ? Mapping::Mapped : Mapping::Unchanged;
    default: return Mapping::Unchanged;
    }
}

bool KrTheme3DUnique::NumberToMatch(const BsxVariant& value, double& number) const
{
    BsxUnicodeString mapped;
    if (MapExternal(value.ToString(), mapped) == Mapping::Missing) return false;
    number = mapped.ToDouble();
    return true;
}

KrTheme3DItem* KrTheme3DUnique::FindNumeric(double number) const
{
    // A non-finite number is never within the tolerance of any key (the difference is
    // infinite or NaN), and NaN would make every key look equivalent to the window
    if (!std::isfinite(number)) return nullptr;
    // The keys inside the window form one run of the numeric order; the first of them in
    // display order is the one a walk over Values would meet first
    const auto range = m_numeric.equal_range(Window{number});
    int first = -1;
    for (auto it = range.first; it != range.second; ++it)
        if (first < 0 || it->second < first) first = it->second;
    if (first < 0 || first >= Values.GetCount()) return nullptr;
    return Find(Values[first]);
}

KrStyle* KrTheme3DUnique::FindStyle(const BsxUnicodeString& value) const
{
    KrStyle* byDefault = const_cast<KrStyle*>(&DefaultStyle);
    if (value.IsEmpty()) return byDefault;
    BsxUnicodeString key;
    if (MapExternal(value, key) == Mapping::Missing) {
        ThemeLog::Plain(L"EGi067", kSourceFile, __LINE__);
        return byDefault;
    }
    KrTheme3DItem* item = Find(key);
    if (!item) return byDefault;
    return item->Visible ? &item->Style : nullptr;
}

KrStyle* KrTheme3DUnique::FindStyle(const BsxVariant& value) const
{
    if (!IsReal(value)) return FindStyle(Variant2String(value));
    KrStyle* byDefault = const_cast<KrStyle*>(&DefaultStyle);
    double number = 0.0;
    if (!NumberToMatch(value, number)) {
        ThemeLog::Plain(L"EGi069", kSourceFile, __LINE__);
        return byDefault;
    }
    KrTheme3DItem* item = FindNumeric(number);
    // A real that lands on an invisible item is drawn with the default style, not hidden
    return item && item->Visible ? &item->Style : byDefault;
}

bool KrTheme3DUnique::FindStyle(KrRecordset*, KrStyle&) const { return false; }

KrTheme3DItem* KrTheme3DUnique::FindThemeItem(const BsxVariant& value) const
{
    KrTheme3DItem* item = nullptr;
    if (IsReal(value)) {
        double number = 0.0;
        if (!NumberToMatch(value, number)) return nullptr;
        item = FindNumeric(number);
    } else {
        const BsxUnicodeString text = Variant2String(value);
        if (text.IsEmpty()) return nullptr;
        BsxUnicodeString key;
        if (MapExternal(text, key) == Mapping::Missing) return nullptr;
        item = Find(key);
    }
    return item && item->Visible ? item : nullptr;
}

bool KrTheme3DUnique::IsModellingStyleEnabled(const BsxVariant& value) const
{
    const KrTheme3DItem* item = FindThemeItem(value);
    return item ? item->ModellingStyleEnabled : DefaultModellingStyleEnabled;
}

KrTheme3DItem* KrTheme3DUnique::Find(const BsxUnicodeString& value) const
{
    return ItemStore::Find(Items, value);
}

bool KrTheme3DUnique::IsExist(const BsxUnicodeString& value) const { return Find(value) != nullptr; }

bool KrTheme3DUnique::FindCaption(const BsxUnicodeString& value, BsxUnicodeString& caption) const
{
    const KrTheme3DItem* item = Find(value);
    if (!item) return false;
    caption = item->Caption;
    return true;
}

// Entries -----------------------------------------------------------------------------------

bool KrTheme3DUnique::Add(const BsxUnicodeString& value, const KrTheme3DItem& item)
{
    return InsertItem(GetCount(), value, item);
}

bool KrTheme3DUnique::InsertItem(int index, const BsxUnicodeString& value, const KrTheme3DItem& item)
{
    if (IsExist(value)) return false;
    const int count = GetCount();
    const int position = (index < 0 || index > count) ? count : index;
    ItemStore::Add(Items, value, item);
    if (position < count) IndexShift(position, 1);
    Values.InsertAt(position, value);
    IndexAdd(value, position);
    return true;
}

void KrTheme3DUnique::SetValueAt(int index, const BsxUnicodeString& value)
{
    const BsxUnicodeString old = Values[index];
    if (value.IsEmpty() || IsExist(value)) return;
    KrTheme3DItem* item = Find(old);
    if (!item) return;
    Items.RemoveKey(old);
    Items.SetAt(value, item);
    Values[index] = value;
    IndexRemove(old, index);
    IndexAdd(value, index);
}

int KrTheme3DUnique::RemoveAt(int index, int count)
{
    const int total = GetCount();
    if (index < 0 || index > total) return 0;
    const int avail = total - index;
    const int n = count > avail ? avail : (count > 0 ? count : 0);
    if (n == 0 || !RemoveTheme3DItems(index, n)) return 0;
    Values.RemoveAt(index, n);
    IndexErase(index, n);
    return n;
}

bool KrTheme3DUnique::RemoveTheme3DItems(int index, int count)
{
    const int total = GetCount();
    if (index < 0 || index > total || static_cast<long long>(index) + count > total) return false;
    for (int i = index; i < index + count; ++i) {
        const BsxUnicodeString& key = Values[i];
        delete Find(key);
        Items.RemoveKey(key);
    }
    return true;
}

void KrTheme3DUnique::RemoveAll()
{
    Release();
    Values.RemoveAll();
    m_numeric.clear();
}

void KrTheme3DUnique::Release()
{
    if (!Items.IsEmpty()) ItemStore::Release(Items);
}

// Numeric index -----------------------------------------------------------------------------

void KrTheme3DUnique::IndexAdd(const BsxUnicodeString& key, int position)
{
    const double number = key.ToDouble();
    if (std::isfinite(number)) m_numeric.emplace(number, position);
}

void KrTheme3DUnique::IndexRemove(const BsxUnicodeString& key, int position)
{
    const double number = key.ToDouble();
    if (!std::isfinite(number)) return;
    const auto range = m_numeric.equal_range(number);
    for (auto it = range.first; it != range.second; ++it) {
        if (it->second == position) {
            m_numeric.erase(it);
            return;
        }
    }
}

void KrTheme3DUnique::IndexShift(int from, int delta)
{
    for (auto& entry : m_numeric)
        if (entry.second >= from) entry.second += delta;
}

void KrTheme3DUnique::IndexErase(int from, int count)
{
    // One pass: a removal in the middle renumbers everything after it anyway
    for (auto it = m_numeric.begin(); it != m_numeric.end();) {
        if (it->second >= from + count) {
            it->second -= count;
            ++it;
        } else if (it->second >= from) {
            it = m_numeric.erase(it);
        } else {
            ++it;
        }
    }
}

// By index ----------------------------------------------------------------------------------

int KrTheme3DUnique::GetCount() const { return Values.GetCount(); }

BsxUnicodeString KrTheme3DUnique::GetValueAt(int index) const { return Values[index]; }

KrTheme3DItem* KrTheme3DUnique::GetAt(int index) const { return Find(Values[index]); }

BsxUnicodeString KrTheme3DUnique::GetCaptionAt(int index) const
{
    const KrTheme3DItem* item = GetAt(index);
    return item ? item->Caption : BsxUnicodeString();
}

const KrStyle& KrTheme3DUnique::GetStyleAt(int index) const
{
    const KrTheme3DItem* item = GetAt(index);
    return item ? item->Style : DefaultStyle;
}

bool KrTheme3DUnique::IsVisibleAt(int index) const
{
    const KrTheme3DItem* item = GetAt(index);
    return item ? item->Visible : false;
}

void KrTheme3DUnique::SetCaptionAt(int index, const BsxUnicodeString& caption)
{
    if (KrTheme3DItem* item = GetAt(index)) item->Caption = caption;
}

void KrTheme3DUnique::SetStyleAt(int index, KrStyle style)
{
    if (KrTheme3DItem* item = GetAt(index)) item->Style = style;
}

void KrTheme3DUnique::SetVisibleAt(int index, bool visible)
{
    if (KrTheme3DItem* item = GetAt(index)) item->Visible = visible;
}

// Expression and field ----------------------------------------------------------------------

void KrTheme3DUnique::SetExpression(const BsxUnicodeString& expression)
{
    Expression = expression;
    FieldExpressions.RemoveAll();
    BsxUnicodeString rest = Expression;
    // A separator at the very start ends the split like no separator at all
    int pos = rest.Find(kSeparator, 0);
    while (pos > 0) {
        BsxUnicodeString piece = rest.Left(pos);
        rest = rest.Right(rest.GetLength() - pos - kSeparatorLength);
        piece.TrimLeft();
        piece.TrimRight();
        if (!piece.IsEmpty()) FieldExpressions.Add(piece);
        pos = rest.Find(kSeparator, 0);
    }
    rest.TrimLeft();
    rest.TrimRight();
    if (!rest.IsEmpty()) FieldExpressions.Add(rest);
}

BsxUnicodeString KrTheme3DUnique::GetExpression() const { return Expression; }

BsxUnicodeString KrTheme3DUnique::GetFieldName(bool alias) const
{
    return ThemeRules::FieldName(kFieldPrefix, m_aliasSuffix, Expression, alias);
}

bool KrTheme3DUnique::CheckFieldType(int fieldType)
{
    switch (fieldType) {
    case 1: case 2: case 3: case 4: case 6: case 7: case 10: case 16: return true;
    default: return false;
    }
}

bool KrTheme3DUnique::IsValidValueCount(int count) const { return count >= 1; }

// Persistence -------------------------------------------------------------------------------

BsxUnicodeString KrTheme3DUnique::ToXML(int version, BsxUnicodeString path) const
{
    BsxUnicodeString result;
    KrMarkup m;
    if (!ThemeXml::BeginWrite(*this, version, m, result)) return result;
    ThemeXml::AddText(m, ThemeXml::kFieldExpressionName, Expression);
    ThemeXml::AddStyle(m, DefaultStyle, version, kDefaultStyle);
    ThemeXml::AddBool(m, kDefaultModelling, DefaultModellingStyleEnabled);
    ThemeXml::OpenContainer(m, kUniqueItems);
    for (const BsxUnicodeString& key : Values) {
        const KrTheme3DItem* item = Find(key);
        if (!item) continue;
        ThemeXml::OpenContainer(m, kUniqueItem);
        ThemeXml::AddText(m, kValue, key);
        ThemeXml::AddItemRecord(m, *item, version, path);
        m.OutOfElem();
    }
    m.OutOfElem();
    return m.GetDoc();
}

bool KrTheme3DUnique::FromXML(const BsxUnicodeString& xml, int version, BsxUnicodeString path)
{
    switch (ThemeXml::BeginRead(*this, m_type, Theme3DUnique, xml, version)) {
    case ThemeXml::ReadStatus::Read: break;
    case ThemeXml::ReadStatus::Unsupported: return true;
    default: return false;
    }
    RemoveAll();

    KrMarkup m(xml.Cstr());
    m.FindElem(ThemeXml::kRootName);
    BsxUnicodeString text;
    if (ThemeXml::ReadText(m, ThemeXml::kFieldExpressionName, text)) SetExpression(text);
    ThemeXml::ReadStyle(m, kDefaultStyle, DefaultStyle, version);
    DefaultModellingStyleEnabled = ThemeXml::ReadText(m, kDefaultModelling, text) ? ThemeXml::ReadFalseIsFalse(text) : true;

    m.ResetChildPos();
    if (!m.FindChildElem(kUniqueItems)) return true;
    m.IntoElem();
    // One working item for every entry: what an entry leaves out it inherits from the entry
    // before it
    KrTheme3DItem working;
    while (m.FindChildElem(kUniqueItem)) {
        m.IntoElem();
        BsxUnicodeString key;
        const bool hasKey = ThemeXml::ReadText(m, kValue, key);
        ThemeXml::ReadItemRecord(m, working, version, path);
        // An entry without a value names no key of its own; rather than filing it under
        // whatever text was read before, it is left out (its fields still carry over)
        if (hasKey) Add(key, working);
        m.OutOfElem();
    }
    m.OutOfElem();
    return true;
}

} // namespace KRN
