#include "KrTheme3DRange.h"

#include <algorithm>
#include <cstdint>

#include "KrStyle.h"
#include "KrTheme3DItemStore.h"
#include "KrThemeRules.h"
#include "KrThemeXml.h"

namespace KRN {

using BSX::BsxUnicodeString;
using BSX::BsxVariant;

namespace {

constexpr const wchar_t* kFieldPrefix = L"Theme3DRange";
constexpr const wchar_t* kSourceFile = L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DRange";
constexpr double kTolerance = ThemeRules::kTolerance;
// Up to this many breaks a walk is cheaper than checking the order and searching
constexpr int kWalkBreaks = 8;

bool Near(double a, double b)
{
    const double d = a - b;
    return -kTolerance < d && d < kTolerance;
}

// The stopping tests of the range walk. Both are monotone along breaks that run in the
// walk's direction (floating-point subtraction keeps order), which is what lets a binary
// search stop exactly where the walk would.
bool StopsAscending(double brk, double value) { return brk > value; }
bool StopsDescending(double brk, double value) { return value > brk || Near(brk, value); }

} // namespace

KrTheme3DRange::KrTheme3DRange() { m_type = Theme3DRange; }

KrTheme3DRange::KrTheme3DRange(const KrTheme3DRange& other) : KrTheme3DStyle()
{
    m_type = Theme3DRange;
    Swap(other);
}

KrTheme3DRange& KrTheme3DRange::operator=(const KrTheme3DRange& other)
{
    Swap(other);
    return *this;
}

KrTheme3DRange::~KrTheme3DRange() { Release(); }

void KrTheme3DRange::Swap(const KrTheme3DRange& other)
{
    if (this == &other) return;
    Release();
    Items.RemoveAll();
    Values.RemoveAll();
    KrTheme3D::Swap(other);
    Descending = other.Descending;
    Expression = other.Expression;
    FieldExpressions = other.FieldExpressions;
    ClassType = other.ClassType;
    try {
        ItemStore::CopyAll(other.Items, Items);
        Values = other.Values;
    } catch (...) {
        Release();
        Values.RemoveAll();
        throw;
    }
    m_order = other.m_order;
}

void KrTheme3DRange::Release() { ItemStore::Release(Items); }

// Break order bookkeeping ---------------------------------------------------------------

const KrTheme3DRange::BreakOrder& KrTheme3DRange::Order() const
{
    if (!m_order.known) {
        BreakOrder order;
        const int n = Values.GetSize();
        const double* b = Values.GetData();
        for (int i = 0; i < n && (order.ascending || order.descending); ++i) {
            if (b[i] != b[i]) order.ascending = order.descending = false;
            else if (i > 0) {
                if (!(b[i - 1] <= b[i])) order.ascending = false;
                if (!(b[i - 1] >= b[i])) order.descending = false;
            }
        }
        m_order = order;
    }
    return m_order;
}

// A new break can only keep or spoil the order of its neighbours, so a known order stays known
void KrTheme3DRange::NoteInserted(int position)
{
    if (!m_order.known) return;
    const int n = Values.GetSize();
    const double v = Values[position];
    if (v != v) {
        m_order.ascending = m_order.descending = false;
        return;
    }
    if (position > 0) {
        const double prev = Values[position - 1];
        if (!(prev <= v)) m_order.ascending = false;
        if (!(prev >= v)) m_order.descending = false;
    }
    if (position + 1 < n) {
        const double next = Values[position + 1];
        if (!(v <= next)) m_order.ascending = false;
        if (!(v >= next)) m_order.descending = false;
    }
}

// A changed break may repair a broken order as well as spoil one. Only when both orders held
// (all breaks equal) do its two neighbours tell the whole story; otherwise look afresh later.
void KrTheme3DRange::NoteChanged(int position)
{
    if (m_order.known && m_order.ascending && m_order.descending) NoteInserted(position);
    else m_order.known = false;
}

// Removing breaks keeps any order that held; one that did not may now hold
void KrTheme3DRange::NoteRemoved()
{
    if (Values.IsEmpty()) m_order = BreakOrder();
    else if (!(m_order.known && m_order.ascending && m_order.descending)) m_order.known = false;
}

// Building ---------------------------------------------------------------------------

int KrTheme3DRange::Add(double value, const KrTheme3DItem& item)
{
    if (GetCount() == 0) {
        Values.RemoveAll();
        m_order = BreakOrder();
        Values.Add(value);
        NoteInserted(0);
        ItemStore::Insert(Items, 0, item);
        ItemStore::Insert(Items, 1, item);
        return GetCount();
    }
    if (Find(value) >= 0) return GetCount();
    const int position = Values.Add(value);
    NoteInserted(position);
    ItemStore::Insert(Items, Items.GetSize(), item);
    return GetCount();
}

bool KrTheme3DRange::InsertAt(int index, double value, const KrTheme3DItem& item)
{
    if (GetValueCount() < 1) {
        Add(value, item);
        return true;
    }
    const int before = Values.GetSize();
    // The array appends for an index past its end or a negative one, as a host array does
    const int position = (index < 0 || index >= before) ? before : index;
    Values.InsertAt(index, value);
    NoteInserted(position);
    ItemStore::Insert(Items, index, item);
    return true;
}

void KrTheme3DRange::SetValueAt(int index, double value)
{
    Values[index] = value;
    NoteChanged(index);
}

// Removing ---------------------------------------------------------------------------

int KrTheme3DRange::RemoveAt(int index, int count)
{
    // A negative index is outside the caller's contract; it removes nothing rather than
    // reaching before the first item
    if (index < 0) return 0;
    const int breaks = GetValueCount();
    const int n = std::min(count, breaks - index);
    if (n < 1) return 0;
    if (n == breaks) {
        RemoveAll();
        return n;
    }
    Values.RemoveAt(index, n);
    NoteRemoved();
    RemoveTheme3DItems(index, n);
    return n;
}

bool KrTheme3DRange::RemoveTheme3DItems(int index, int count)
{
    const std::int64_t end = static_cast<std::int64_t>(index) + count;
    if (count < 1 || index < 0 || index > GetCount() || end > GetCount()) return false;
    for (int i = index; i < static_cast<int>(end); ++i) delete Items[i];
    Items.RemoveAt(index, count);
    return true;
}

void KrTheme3DRange::RemoveAll()
{
    Release();
    Items.RemoveAll();
    Values.RemoveAll();
    m_order = BreakOrder();
}

// Lookups ----------------------------------------------------------------------------

int KrTheme3DRange::GetValueCount() const { return Values.GetSize(); }

int KrTheme3DRange::Find(double value) const
{
    const int n = std::min(GetValueCount(), Values.GetSize());
    if (n < 1) return -1;
    const double* b = Values.GetData();
    const BreakOrder& order = Order();
    // Along ordered breaks the differences b - value are ordered too, so the breaks within the
    // tolerance form one run; its first element is the first match of a scan
    if (order.ascending) {
        const double* p = std::partition_point(b, b + n, [value](double x) { return !(x - value > -kTolerance); });
        return (p != b + n && Near(*p, value)) ? static_cast<int>(p - b) : -1;
    }
    if (order.descending) {
        const double* p = std::partition_point(b, b + n, [value](double x) { return !(x - value < kTolerance); });
        return (p != b + n && Near(*p, value)) ? static_cast<int>(p - b) : -1;
    }
    for (int i = 0; i < n; ++i)
        if (Near(b[i], value)) return i;
    return -1;
}

int KrTheme3DRange::RangeIndex(double value) const
{
    const int n = std::min(GetValueCount(), Values.GetSize());
    if (n < 1) return 0;
    const double* b = Values.GetData();
    const bool search = n > kWalkBreaks;
    if (!Descending) {
        if (search && Order().ascending)
            return static_cast<int>(
                std::partition_point(b, b + n, [value](double x) { return !StopsAscending(x, value); }) - b);
        int k = 0;
        while (k < n && !StopsAscending(b[k], value)) ++k;
        return k;
    }
    if (search && Order().descending)
        return static_cast<int>(
            std::partition_point(b, b + n, [value](double x) { return !StopsDescending(x, value); }) - b);
    int k = 0;
    while (k < n && !StopsDescending(b[k], value)) ++k;
    return k;
}

KrStyle* KrTheme3DRange::FindStyle(double value) const
{
    const int k = RangeIndex(value);
    if (k > GetCount() - 1) return nullptr;
    KrTheme3DItem* item = Items[k];
    if (!item || !item->Visible) return nullptr;
    return &item->Style;
}

bool KrTheme3DRange::ValueOf(const BsxVariant& value, double& number, int line) const
{
    if (m_externalValueMode == 1) {
        const BsxUnicodeString text = Variant2String(value);
        BsxUnicodeString mapped;
        number = GetExternalValue(text, mapped) ? mapped.ToDouble() : text.ToDouble();
        return true;
    }
    if (Variant2Double(value, number)) return true;
    ThemeLog::Plain(L"EEe007", kSourceFile, line);
    ThemeLog::Plain(L"EGi055", kSourceFile, line);
    return false;
}

KrStyle* KrTheme3DRange::FindStyle(const BsxVariant& value) const
{
    double number = 0.0;
    if (!ValueOf(value, number, __LINE__)) return nullptr;
    return FindStyle(number);
}

KrTheme3DItem* KrTheme3DRange::FindThemeItem(const BsxVariant& value) const
{
    double number = 0.0;
    if (!ValueOf(value, number, __LINE__)) return nullptr;
    const int k = RangeIndex(number);
    if (k > GetCount() - 1) return nullptr;
    KrTheme3DItem* item = Items[k];
    if (!item || !item->Visible) return nullptr;
    return item;
}

bool KrTheme3DRange::IsModellingStyleEnabled(const BsxVariant& value) const
{
    const KrTheme3DItem* item = FindThemeItem(value);
    return item ? item->ModellingStyleEnabled : true;
}

bool KrTheme3DRange::FindStyle(KrRecordset*, KrStyle&) const { return false; }

// Indexed access ---------------------------------------------------------------------

int KrTheme3DRange::GetCount() const { return Items.GetSize(); }

double KrTheme3DRange::GetValueAt(int index) const { return Values[index]; }

KrTheme3DItem* KrTheme3DRange::GetAt(int index) const { return Items[index]; }

BsxUnicodeString KrTheme3DRange::GetCaptionAt(int index) const
{
    const KrTheme3DItem* item = Items[index];
    return item ? item->Caption : BsxUnicodeString();
}

const KrStyle& KrTheme3DRange::GetStyleAt(int index) const
{
    static const KrStyle kNoStyle;
    const KrTheme3DItem* item = Items[index];
    return item ? item->Style : kNoStyle;
}

bool KrTheme3DRange::IsVisibleAt(int index) const
{
    const KrTheme3DItem* item = Items[index];
    return item ? item->Visible : false;
}

void KrTheme3DRange::SetAt(int index, const KrTheme3DItem& item)
{
    if (KrTheme3DItem* target = Items[index]) *target = item;
}

void KrTheme3DRange::SetCaptionAt(int index, BsxUnicodeString caption)
{
    if (KrTheme3DItem* target = Items[index]) target->Caption = caption;
}

void KrTheme3DRange::SetStyleAt(int index, const KrStyle& style)
{
    if (KrTheme3DItem* target = Items[index]) target->Style = style;
}

void KrTheme3DRange::SetVisibleAt(int index, bool visible)
{
    if (KrTheme3DItem* target = Items[index]) target->Visible = visible;
}

// Other operations -------------------------------------------------------------------

void KrTheme3DRange::SetExpression(const BsxUnicodeString& expression)
{
    Expression = expression;
    FieldExpressions.RemoveAll();
    FieldExpressions.Add(Expression);
}

BsxUnicodeString KrTheme3DRange::GetExpression() const { return Expression; }

BsxUnicodeString KrTheme3DRange::GetFieldName(bool alias) const
{
    return ThemeRules::FieldName(kFieldPrefix, m_aliasSuffix, Expression, alias);
}

bool KrTheme3DRange::CheckFieldType(int fieldType)
{
    switch (fieldType) {
    case 2:
    case 3:
    case 4:
    case 6:
    case 7:
    case 16: return true;
    default: return false;
    }
}

KrClass3DType KrTheme3DRange::GetClassType() const { return ClassType; }

bool KrTheme3DRange::IsDescending() const { return Descending; }

bool KrTheme3DRange::IsValidValueCount(int count) const { return count >= 1; }

} // namespace KRN
