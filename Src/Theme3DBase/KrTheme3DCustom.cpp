#include "KrTheme3DCustom.h"

#include <cfloat>
#include <cmath>
#include <cstdint>

#include "BsxColor.h"
#include "BsxVariant.h"
#include "KrColorValue3D.h"
#include "KrConvert.h"
#include "KrFeature.h"
#include "KrGeometry.h"
#include "KrMarkup.h"
#include "KrStyle.h"
#include "KrThemeXml.h"

namespace KRN {

using BSX::BsxArray;
using BSX::BsxUnicodeString;
using BSX::BsxVariant;

namespace {

using Expression = BsxUnicodeString KrTheme3DCustom::*;

constexpr const wchar_t* kFieldPrefix = L"Theme3DCustom";
constexpr const wchar_t* kClassName = L"KrTheme3DCustom";
constexpr const wchar_t* kSourceFile = L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DCustom";
constexpr const wchar_t* kContainerName = ThemeXml::kFieldExpressionName;

struct ExpressionElement {
    const wchar_t* name;
    Expression member;
};

// The children of "tdx:FieldExpression" in document order; both the writer and the reader walk it
const ExpressionElement kElements[] = {
    {L"tdx:AltitudeMode", &KrTheme3DCustom::AltitudeMode},
    {L"tdx:BottomAltitude", &KrTheme3DCustom::BottomAltitude},
    {L"tdx:ExtendHeight", &KrTheme3DCustom::ExtendHeight},
    {L"tdx:BillboardMode", &KrTheme3DCustom::BillboardMode},
    {L"tdx:MarkerStyle", &KrTheme3DCustom::MarkerStyle},
    {L"tdx:IconName", &KrTheme3DCustom::IconName},
    {L"tdx:IconScale", &KrTheme3DCustom::IconScale},
    {L"tdx:ColorPoint", &KrTheme3DCustom::ColorPoint},
    {L"tdx:LineStyle", &KrTheme3DCustom::LineStyle},
    {L"tdx:LineWidth", &KrTheme3DCustom::LineWidth},
    {L"tdx:LineColor", &KrTheme3DCustom::LineColor},
    {L"tdx:FillStyle", &KrTheme3DCustom::FillStyle},
    {L"tdx:Fill3DMode", &KrTheme3DCustom::Fill3DMode},
    {L"tdx:FillForeColor", &KrTheme3DCustom::FillForeColor},
    {L"tdx:ScaleX", &KrTheme3DCustom::ScaleX},
    {L"tdx:ScaleY", &KrTheme3DCustom::ScaleY},
    {L"tdx:ScaleZ", &KrTheme3DCustom::ScaleZ},
    {L"tdx:RotateX", &KrTheme3DCustom::RotateX},
    {L"tdx:RotateY", &KrTheme3DCustom::RotateY},
    {L"tdx:RotateZ", &KrTheme3DCustom::RotateZ},
};

// Query-field groups in their fixed order; an entry's number is its position in the group's
// full list, so the common group's three numbers come before each group's own
const Expression kCommonGroup[] = {&KrTheme3DCustom::AltitudeMode, &KrTheme3DCustom::BottomAltitude,
                                   &KrTheme3DCustom::ExtendHeight};
const Expression kLineGroup[] = {&KrTheme3DCustom::LineStyle, &KrTheme3DCustom::LineWidth, &KrTheme3DCustom::LineColor};
const Expression kFillGroup[] = {&KrTheme3DCustom::FillStyle, &KrTheme3DCustom::FillForeColor,
                                 &KrTheme3DCustom::Fill3DMode};
const Expression kMarkerGroup[] = {
    &KrTheme3DCustom::MarkerStyle, &KrTheme3DCustom::IconName, &KrTheme3DCustom::IconScale,
    &KrTheme3DCustom::ColorPoint,  &KrTheme3DCustom::BillboardMode, &KrTheme3DCustom::ScaleX,
    &KrTheme3DCustom::ScaleY,      &KrTheme3DCustom::ScaleZ,        &KrTheme3DCustom::RotateX,
    &KrTheme3DCustom::RotateY,     &KrTheme3DCustom::RotateZ};
const Expression kModelGroup[] = {&KrTheme3DCustom::FillForeColor, &KrTheme3DCustom::BillboardMode,
                                  &KrTheme3DCustom::ScaleX,        &KrTheme3DCustom::ScaleY,
                                  &KrTheme3DCustom::ScaleZ,        &KrTheme3DCustom::RotateX,
                                  &KrTheme3DCustom::RotateY,       &KrTheme3DCustom::RotateZ};

template <std::size_t N>
void AppendGroup(const KrTheme3DCustom& theme, const Expression (&group)[N], int firstNumber,
                 const BsxUnicodeString& fieldName, BsxArray<BsxUnicodeString>& fields)
{
    for (std::size_t i = 0; i < N; ++i) {
        const BsxUnicodeString& expression = theme.*group[i];
        if (expression.IsEmpty()) continue; // an empty expression still takes its number
        BsxUnicodeString number;
        NumberToString(firstNumber + static_cast<int>(i), number);
        fields.Add(expression + L" as " + fieldName + number);
    }
}

constexpr double kInt32Min = -2147483648.0;
constexpr double kInt32Max = 2147483647.0;
constexpr double kUInt32Max = 4294967295.0;

// Half away from zero, so 2.5 gives 3 and -2.5 gives -3
double RoundHalfAway(double v) { return v > 0 ? std::trunc(v + 0.5) : std::trunc(v - 0.5); }

// A whole number as a 32-bit integer code. NaN and numbers outside the 32-bit range have no
// code, and the property they drive is left as it was rather than set to a made-up value.
bool ToInt32(double whole, int& code)
{
    if (!(whole >= kInt32Min && whole <= kInt32Max)) return false;
    code = static_cast<int>(whole);
    return true;
}

// A whole number as a packed colour. Besides the signed 32-bit range, the unsigned range up to
// 0xFFFFFFFF is accepted too: layers commonly store a packed colour with alpha 128 or more as
// its unsigned value, and both spellings name the same 32 bits.
bool ToPackedColor(double whole, std::uint32_t& packed)
{
    if (!(whole >= kInt32Min && whole <= kUInt32Max)) return false;
    packed = whole < 0 ? static_cast<std::uint32_t>(static_cast<std::int32_t>(whole)) : static_cast<std::uint32_t>(whole);
    return true;
}

KrColorValue3D ToColor(std::uint32_t packed)
{
    return KrColorValue3D(BSXREDVAL(packed) / 255.0, BSXGREENVAL(packed) / 255.0, BSXBLUEVAL(packed) / 255.0,
                          BSXALPHAVAL(packed) / 255.0);
}

// Narrowing a finite double beyond the float range is undefined in C++, so the IEEE rounding is
// spelled out: a value less than half a float step past FLT_MAX (3.4028235e38, the way FLT_MAX is
// usually written out, is one) rounds to FLT_MAX; from the half step on, where a tie rounds to
// even, it becomes the infinity of its sign. NaN stays NaN.
float ToFloat(double v)
{
    constexpr double kFloatOverflow = 0x1.ffffffp+127; // FLT_MAX plus half a step
    if (v >= kFloatOverflow) return HUGE_VALF;
    if (v <= -kFloatOverflow) return -HUGE_VALF;
    if (v > FLT_MAX) return FLT_MAX;
    if (v < -FLT_MAX) return -FLT_MAX;
    return static_cast<float>(v);
}

} // namespace

KrTheme3DCustom::KrTheme3DCustom() { m_type = Theme3DCustom; }

KrTheme3DCustom::KrTheme3DCustom(const KrTheme3DCustom& other) : KrTheme3DStyle()
{
    m_type = Theme3DCustom;
    Swap(other);
}

KrTheme3DCustom& KrTheme3DCustom::operator=(const KrTheme3DCustom& other)
{
    Swap(other);
    return *this;
}

KrTheme3DCustom::~KrTheme3DCustom() = default;

void KrTheme3DCustom::Swap(const KrTheme3DCustom& other)
{
    if (this == &other) return;
    KrTheme3D::Swap(other);
    for (const ExpressionElement& element : kElements) this->*element.member = other.*element.member;
}

void KrTheme3DCustom::SetEmpty()
{
    for (const ExpressionElement& element : kElements) (this->*element.member).Empty();
}

bool KrTheme3DCustom::IsValid() const { return true; }

int KrTheme3DCustom::GetHashCode() const { return 0; }

bool KrTheme3DCustom::CheckFieldType(int fieldType)
{
    return fieldType == 2 || fieldType == 3 || fieldType == 4 || fieldType == 16;
}

BsxUnicodeString KrTheme3DCustom::GetFieldName(bool) const { return kFieldPrefix + m_aliasSuffix; }

// Query fields ------------------------------------------------------------------------

void KrTheme3DCustom::GetCommonFieldName(BsxArray<BsxUnicodeString>& fields) const
{
    AppendGroup(*this, kCommonGroup, 1, GetFieldName(true), fields);
}

bool KrTheme3DCustom::GetLineFieldName(BsxArray<BsxUnicodeString>& fields) const
{
    const int before = fields.GetSize();
    GetCommonFieldName(fields);
    AppendGroup(*this, kLineGroup, 4, GetFieldName(true), fields);
    return fields.GetSize() > before;
}

bool KrTheme3DCustom::GetFillFieldName(BsxArray<BsxUnicodeString>& fields) const
{
    const int before = fields.GetSize();
    GetLineFieldName(fields);
    AppendGroup(*this, kFillGroup, 7, GetFieldName(true), fields);
    return fields.GetSize() > before;
}

bool KrTheme3DCustom::GetMarkerFieldName(BsxArray<BsxUnicodeString>& fields) const
{
    const int before = fields.GetSize();
    GetCommonFieldName(fields);
    AppendGroup(*this, kMarkerGroup, 4, GetFieldName(true), fields);
    return fields.GetSize() > before;
}

bool KrTheme3DCustom::GetModelFieldName(BsxArray<BsxUnicodeString>& fields) const
{
    const int before = fields.GetSize();
    GetCommonFieldName(fields);
    AppendGroup(*this, kModelGroup, 4, GetFieldName(true), fields);
    return fields.GetSize() > before;
}

bool KrTheme3DCustom::GetThemeQueryDef(int kind, BsxArray<BsxUnicodeString>& fields)
{
    switch (kind) {
    case 0: GetMarkerFieldName(fields); break;
    case 1: GetLineFieldName(fields); break;
    case 2: GetFillFieldName(fields); break;
    default: GetModelFieldName(fields); break;
    }
    return false;
}

// Style evaluation --------------------------------------------------------------------

bool KrTheme3DCustom::GetFieldValue(const BsxUnicodeString& expression, KrFeature* feature, double& value) const
{
    if (expression.IsEmpty() || !feature) return false;
    BsxVariant variant;
    if (!feature->GetValue(expression, variant)) return false;
    return Variant2Double(variant, value);
}

bool KrTheme3DCustom::GetFieldValue(const BsxUnicodeString& expression, KrFeature* feature, BsxUnicodeString& value) const
{
    if (expression.IsEmpty() || !feature) return false;
    BsxVariant variant;
    if (!feature->GetValue(expression, variant)) return false;
    value = Variant2String(variant);
    return true;
}

bool KrTheme3DCustom::ReadCode(const BsxUnicodeString& expression, KrFeature* feature, int& code) const
{
    double v = 0.0;
    return GetFieldValue(expression, feature, v) && ToInt32(RoundHalfAway(v), code);
}

bool KrTheme3DCustom::ReadColor(const BsxUnicodeString& expression, KrFeature* feature, bool truncate,
                                KrColorValue3D& color) const
{
    double v = 0.0;
    std::uint32_t packed = 0;
    if (!GetFieldValue(expression, feature, v) || !ToPackedColor(truncate ? std::trunc(v) : RoundHalfAway(v), packed))
        return false;
    color = ToColor(packed);
    return true;
}

// Each step reads one expression and sets its property only when the value converts; otherwise
// the caller's property stays and the next step runs.
void KrTheme3DCustom::ApplyCommon(KrFeature* feature, KrStyle& style) const
{
    double v = 0.0;
    int code = 0;
    if (ReadCode(AltitudeMode, feature, code)) style.SetAltitudeMode(static_cast<KRN::AltitudeMode>(code));
    if (GetFieldValue(BottomAltitude, feature, v)) style.SetBottomAltitude(ToFloat(v));
    if (GetFieldValue(ExtendHeight, feature, v)) style.SetExtendHeight(ToFloat(v));
}

void KrTheme3DCustom::ApplyMarker(KrFeature* feature, KrStyle& style) const
{
    double v = 0.0;
    int code = 0;
    if (ReadCode(MarkerStyle, feature, code)) {
        style.SetMarkerStyle(code);
        style.SetMarker3D(true);
    }
    BsxUnicodeString icon;
    if (GetFieldValue(IconName, feature, icon)) style.SetIconName(icon);
    if (GetFieldValue(IconScale, feature, v)) style.SetIconScale(ToFloat(v));
    KrColorValue3D color;
    if (ReadColor(ColorPoint, feature, false, color)) {
        style.SetPointColor(color);
        style.SetFillColor(color);
    }
    ApplyModelTransform(feature, style);
}

void KrTheme3DCustom::ApplyModelTransform(KrFeature* feature, KrStyle& style) const
{
    double v = 0.0;
    int code = 0;
    if (ReadCode(BillboardMode, feature, code)) style.SetBillBoardMode(static_cast<KrBillBoardMode>(code));
    if (GetFieldValue(ScaleX, feature, v)) style.SetMarker3DScaleX(v);
    if (GetFieldValue(ScaleY, feature, v)) style.SetMarker3DScaleY(v);
    if (GetFieldValue(ScaleZ, feature, v)) style.SetMarker3DScaleZ(v);
    if (GetFieldValue(RotateX, feature, v)) style.SetMarker3DRotateX(v);
    if (GetFieldValue(RotateY, feature, v)) style.SetMarker3DRotateY(v);
    if (GetFieldValue(RotateZ, feature, v)) style.SetMarker3DRotateZ(v);
}

void KrTheme3DCustom::ApplyFill(KrFeature* feature, KrStyle& style) const
{
    int code = 0;
    if (ReadCode(FillStyle, feature, code)) style.SetFillStyle(code);
    // The fill colour is truncated where the point and line colours are rounded
    KrColorValue3D color;
    if (ReadColor(FillForeColor, feature, true, color)) style.SetFillColor(color);
    if (ReadCode(Fill3DMode, feature, code)) style.SetFill3DMode(static_cast<KrFill3DMode>(code));
}

void KrTheme3DCustom::ApplyLine(KrFeature* feature, KrStyle& style) const
{
    double v = 0.0;
    int code = 0;
    if (ReadCode(LineStyle, feature, code)) {
        style.SetLineStyle(code);
        style.SetMarker3D(true);
    }
    if (GetFieldValue(LineWidth, feature, v)) style.SetLineWidth(v);
    KrColorValue3D color;
    if (ReadColor(LineColor, feature, false, color)) style.SetLineColor3D(color);
}

bool KrTheme3DCustom::FindStyle(KrFeature* feature, KrStyle& style) const
{
    if (!feature) return false;
    ApplyCommon(feature, style);
    // A feature without geometry is treated like one of an unknown kind: the common group
    // is applied and the answer is false
    const KrGeometry* geometry = feature->GetGeometry();
    if (!geometry) return false;
    switch (geometry->GetType()) {
    case KrGeometry::GEO_POINT:
    case KrGeometry::GEO_POINT3D: ApplyMarker(feature, style); return true;
    case KrGeometry::GEO_MODEL: {
        KrColorValue3D color;
        if (ReadColor(FillForeColor, feature, true, color)) style.SetFillColor(color);
        ApplyModelTransform(feature, style);
        return true;
    }
    case KrGeometry::GEO_REGION:
    case KrGeometry::GEO_REGION3D: ApplyFill(feature, style); ApplyLine(feature, style); return true;
    case KrGeometry::GEO_LINE:
    case KrGeometry::GEO_LINE3D: ApplyLine(feature, style); return true;
    default: return false;
    }
}

// Persistence -------------------------------------------------------------------------

BsxUnicodeString KrTheme3DCustom::ToXML(int version, BsxUnicodeString) const
{
    KrMarkup markup;
    BsxUnicodeString result;
    if (!ThemeXml::BeginWrite(*this, version, markup, result)) {
        // Only a base text without its root is worth a record; an unsupported version or an
        // empty base text fails quietly
        if (ThemeXml::IsSupportedVersion(version) && !KrTheme3D::ToXML(version, BsxUnicodeString()).IsEmpty())
            ThemeLog::Formatted(L"EGg041", kClassName, kSourceFile, __LINE__);
        return result;
    }
    ThemeXml::OpenContainer(markup, kContainerName);
    for (const ExpressionElement& element : kElements) {
        const BsxUnicodeString& expression = this->*element.member;
        if (!expression.IsEmpty()) ThemeXml::AddText(markup, element.name, expression);
    }
    markup.OutOfElem();
    return markup.GetDoc();
}

bool KrTheme3DCustom::FromXML(const BsxUnicodeString& xml, int version, BsxUnicodeString)
{
    switch (ThemeXml::BeginRead(*this, m_type, Theme3DCustom, xml, version)) {
    case ThemeXml::ReadStatus::Unsupported: return true;
    case ThemeXml::ReadStatus::Empty: ThemeLog::Formatted(L"EGg040", kClassName, kSourceFile, __LINE__); return false;
    case ThemeXml::ReadStatus::BaseFailed: ThemeLog::Formatted(L"EGg040", kClassName, kSourceFile, __LINE__); return false;
    case ThemeXml::ReadStatus::ForeignType: return false;
    case ThemeXml::ReadStatus::Read: break;
    }
    KrMarkup markup(xml.Cstr());
    if (!markup.FindElem(ThemeXml::kRootName) || !markup.FindChildElem(kContainerName)) return true;
    markup.IntoElem();
    // Forward only, and members whose element is absent keep their expression
    for (const ExpressionElement& element : kElements) ThemeXml::ReadText(markup, element.name, this->*element.member);
    markup.OutOfElem();
    return true;
}

} // namespace KRN
