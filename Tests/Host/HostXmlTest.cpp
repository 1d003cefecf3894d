#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <random>
#include <sstream>
#include <utility>
#include <vector>

#include "KrMarkup.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "KrTheme3D.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

TEST(KrMarkupTest, ChildSearchIsForwardOnlyAndNeverWraps)
{
    KrMarkup m(L"<r><a>1</a><b>2</b><a>3</a><c x='7'>4</c></r>");
    // The first child search takes the root itself
    for (const auto& step : std::vector<std::pair<const wchar_t*, const wchar_t*>>{{L"b", L"2"}, {L"a", L"3"}}) {
        ASSERT_TRUE(m.FindChildElem(step.first));
        EXPECT_EQ(m.GetChildData(), step.second);
    }
    // A miss leaves the current child where it was
    EXPECT_FALSE(m.FindChildElem(L"b"));
    EXPECT_TRUE(m.FindChildElem(L"c"));
    EXPECT_EQ(m.GetChildAttrib(L"x"), L"7");
    EXPECT_EQ(m.GetChildAttrib(L"y"), L"");
    m.ResetChildPos();
    ASSERT_TRUE(m.FindChildElem(L"a"));
    EXPECT_EQ(m.GetChildData(), L"1");
}

TEST(KrMarkupTest, IntoOutOfAndSubDocuments)
{
    KrMarkup m(L"<r><list><i>1</i><i>2</i><j>t<k/></j></list><after/></r>");
    ASSERT_TRUE(m.FindElem(L"r"));
    ASSERT_TRUE(m.FindChildElem(L"list"));
    ASSERT_TRUE(m.IntoElem());
    int count = 0;
    while (m.FindChildElem(L"i")) ++count;
    EXPECT_EQ(count, 2);
    ASSERT_TRUE(m.OutOfElem());
    EXPECT_EQ(m.GetChildTagName(), L"list");
    EXPECT_TRUE(m.FindChildElem(L"after"));
    m.ResetChildPos();
    m.FindChildElem(L"list");
    // Text beside elements is printed as the parser prints it
    EXPECT_EQ(m.GetChildSubDoc(), L"<list>\n  <i>1</i>\n  <i>2</i>\n  <j>t<k />\n  </j>\n</list>");
}

TEST(KrMarkupTest, WritingElementsAttributesAndFragments)
{
    KrMarkup m;
    ASSERT_TRUE(m.AddElem(L"tdx:GraphItem"));
    m.AddElem(L"tdx:Caption", L"a<b&c", false, true);
    m.SetAttrib(KrMarkup::MNT_CHILD, L"k", L"v\"");
    m.AddElem(L"tdx:Empty", nullptr, false, true);
    ASSERT_TRUE(m.AddSubDoc(L"<tdx:Style><x>1</x></tdx:Style>", false, true));
    EXPECT_FALSE(m.AddSubDoc(L"<broken>", false, true));
    KrMarkup back(m.GetDoc().Cstr());
    ASSERT_TRUE(back.FindChildElem(L"tdx:Caption"));
    EXPECT_EQ(back.GetChildData(), L"a<b&c");
    EXPECT_EQ(back.GetChildAttrib(L"k"), L"v\"");
    EXPECT_TRUE(back.FindChildElem(L"tdx:Empty"));
    EXPECT_TRUE(back.FindChildElem(L"tdx:Style"));
}

TEST(KrMarkupTest, TextAndAttributesComeBackAsWritten)
{
    for (const wchar_t* text : {L" padded ", L"a\rb", L"a\r\nb", L"  ", L"tab\tand\nline"}) {
        KrMarkup m;
        m.AddElem(L"r");
        m.AddElem(L"c", text, false, true);
        m.SetAttrib(KrMarkup::MNT_CHILD, L"k", text);
        KrMarkup back(m.GetDoc().Cstr());
        ASSERT_TRUE(back.FindChildElem(L"c"));
        EXPECT_EQ(back.GetChildData(), text);
        EXPECT_EQ(back.GetChildAttrib(L"k"), text);
    }
}

TEST(KrMarkupTest, ACursorOverAnotherTextReadsItsOwn)
{
    // A cursor over the very text the last one parsed shares that parse; a text that differs
    // anywhere, past a long run and a character beyond ASCII too, or only in length, is its own
    const std::wstring run(5000, L'x');
    const std::wstring first = L"<r><a>" + run + L"\u00e9</a><b>1</b></r>";
    for (const auto& other : std::vector<std::pair<std::wstring, const wchar_t*>>{
             {first, L"1"}, {L"<r><a>" + run + L"\u00e8</a><b>1</b></r>", L"1"}, {L"<r><a>" + run + L"\u00e9</a><b>2</b></r>", L"2"},
             {L"<r><a>" + run + L"\u00e9</a><b>12</b></r>", L"12"}, {L"<r><a>" + run + L"\u00e9</a><b/></r>", L""}}) {
        KrMarkup parsed(first.c_str());
        KrMarkup again(other.first.c_str());
        ASSERT_TRUE(again.FindChildElem(L"a"));
        EXPECT_EQ(again.GetChildData().Str().back(), other.first[6 + run.size()]);
        ASSERT_TRUE(again.FindChildElem(L"b"));
        EXPECT_EQ(again.GetChildData(), other.second);
    }
    KrMarkup longer((first + L"<x/>").c_str());
    KrMarkup start(first.c_str());
    ASSERT_TRUE(start.FindElem(L"r"));
    EXPECT_FALSE(start.FindElem(L"x"));
}

TEST(KrMarkupTest, MalformedTextIsAnEmptyDocument)
{
    for (const wchar_t* bad : {L"<r><a></r>", L"<r", L"plain text", L"<a/><", L"", L"<r></r><r"}) {
        KrMarkup m(bad);
        EXPECT_FALSE(m.FindElem(L"r")) << BsxUnicodeString(bad).ToUtf8();
        EXPECT_FALSE(m.FindChildElem(L"a"));
        EXPECT_FALSE(m.IntoElem());
        EXPECT_FALSE(m.OutOfElem());
        EXPECT_EQ(m.GetChildData(), L"");
        EXPECT_EQ(m.GetChildSubDoc(), L"");
    }
}

namespace {
// A random tree built twice: through the cursor, and straight in pugixml as the cursor's
// operations are documented to build it (fragments as the parser reads them)
class TwinBuilder {
public:
    explicit TwinBuilder(unsigned seed) : m_random(seed) {}
    KrMarkup markup;
    pugi::xml_document model;

    void Build()
    {
        markup.AddElem(L"root");
        Fill(model.append_child("root"), 0);
    }

private:
    std::wstring Text()
    {
        static const wchar_t* const pieces[] = {L"a", L" ", L"&", L"<", L">", L"\"", L"'", L"\t", L"\n", L"\r", L"\x01",
                                                L"\x1F", L"\u00e9", L"\u5317", L"\U0001F600", L"\xD800", L"]]>", L"12.5"};
        std::wstring text;
        for (unsigned n = m_random() % 5; n; --n) text += pieces[m_random() % (sizeof pieces / sizeof *pieces)];
        if (m_random() % 8 == 0) text += static_cast<wchar_t>(0x110000);
        return text;
    }
    const wchar_t* Name()
    {
        static const wchar_t* const names[] = {L"a", L"tdx:Style", L"b.c-d_1", L"\u00e9t\u00e9", L"k"};
        return names[m_random() % 5];
    }
    static std::string Utf8(const std::wstring& text) { return BsxUnicodeString::ToUtf8(text.data(), text.size()); }
    // Flat fragments of every form, a style's own among them, and some that are not flat
    std::wstring Fragment()
    {
        KrStyle style;
        style.SetIconName(Text());
        switch (m_random() % 7) {
        case 0: return style.ToXML(0, L"tdx:Style").Str();
        case 1: return L"<f>" + std::wstring(m_random() % 2 ? L"only &amp; text" : L" ") + L"</f>";
        case 2: return L"<f/>";
        case 3: return L"<f>\n  <b>1 > 0\t\x01\u5317</b>\n  <c />\n</f>";
        case 4: return L"<f k=\"v\"><b><c/></b></f>";
        case 5: return L"<f><\u00e9>x</\u00e9></f>";
        default: return L"<tdx:Style><x>&lt;</x></tdx:Style>";
        }
    }
    void Fill(pugi::xml_node into, int depth)
    {
        for (unsigned n = m_random() % 5; n; --n) {
            const unsigned kind = m_random() % 4;
            if (kind == 0 || depth > 3) {
                const wchar_t* name = Name();
                const std::wstring text = Text();
                // Now and then put first, ahead of the children already there
                const bool first = m_random() % 4 == 0;
                markup.AddElem(name, text.c_str(), first, true);
                pugi::xml_node child = first ? into.prepend_child(Utf8(name).c_str()) : into.append_child(Utf8(name).c_str());
                if (!text.empty()) child.text().set(Utf8(text).c_str());
                if (m_random() % 3 == 0) {
                    const std::wstring value = Text();
                    markup.SetAttrib(KrMarkup::MNT_CHILD, L"k", value.c_str());
                    child.append_attribute("k").set_value(Utf8(value).c_str());
                }
            } else if (kind == 1) {
                // A container, now and then with text before its elements
                const bool mixed = m_random() % 4 == 0;
                markup.AddElem(L"c", mixed ? L"t" : nullptr, false, true);
                pugi::xml_node child = into.append_child("c");
                if (mixed) child.text().set("t");
                markup.IntoElem();
                Fill(child, depth + 1);
                markup.OutOfElem();
            } else {
                const std::wstring fragment = Fragment();
                pugi::xml_document parsed;
                const std::string utf8 = Utf8(fragment);
                const unsigned flags = (pugi::parse_default & ~(pugi::parse_eol | pugi::parse_wconv_attribute)) | pugi::parse_ws_pcdata_single;
                ASSERT_TRUE(parsed.load_buffer(utf8.data(), utf8.size(), flags, pugi::encoding_utf8));
                const bool first = m_random() % 4 == 0;
                ASSERT_TRUE(markup.AddSubDoc(fragment.c_str(), first, true));
                if (first) into.prepend_copy(parsed.document_element());
                else into.append_copy(parsed.document_element());
            }
        }
    }
    std::mt19937 m_random;
};

// Every element below the current one as the cursor reads it: name, attribute, what it holds,
// and its markup when asked for, which then comes first
std::wstring Transcript(KrMarkup& m, bool subDocuments)
{
    std::wstring out;
    while (m.FindChildElem()) {
        if (subDocuments) out += m.GetChildSubDoc().Str();
        out += (m.GetChildTagName() + L"|" + m.GetChildAttrib(L"k") + L"\n").Str();
        m.IntoElem();
        out += Transcript(m, subDocuments);
        m.OutOfElem();
        out += (L"=" + m.GetChildData() + L"\n").Str();
    }
    return out;
}
} // namespace

TEST(KrMarkupTest, BuiltDocumentsPrintAndReadAsTheParserHasThem)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        TwinBuilder twin(seed);
        twin.Build();
        std::ostringstream printed;
        twin.model.save(printed, "  ", pugi::format_indent | pugi::format_no_declaration);
        const BsxUnicodeString doc = twin.markup.GetDoc();
        ASSERT_EQ(doc, BsxUnicodeString::FromUtf8(printed.str())) << seed;
        // Read through the cursor that built it, fragments and all, as through one over its text
        for (const bool subDocuments : {false, true}) {
            TwinBuilder again(seed);
            again.Build();
            KrMarkup back(doc.Cstr());
            ASSERT_TRUE(back.FindElem());
            again.markup.ResetChildPos();
            ASSERT_EQ(Transcript(again.markup, subDocuments), Transcript(back, subDocuments)) << seed;
            EXPECT_EQ(again.markup.GetDoc(), doc) << seed;
        }
    }
}

TEST(KrStyleTest, EveryPropertySurvivesItsDocument)
{
    KrStyle s;
    s.SetAltitudeMode(static_cast<AltitudeMode>(77)); s.SetBottomAltitude(1.25f); s.SetExtendHeight(0.1f);
    s.SetMarkerStyle(-4); s.SetMarker3D(true); s.SetIconName(L"icons/\u5317<&>.png"); s.SetIconScale(3.3f);
    s.SetPointColor(KrColorValue3D(0.1, 0.2, 1.0 / 3.0, 1)); s.SetBillBoardMode(BILLBOARD_AXIS);
    s.SetMarker3DScaleX(1e-300); s.SetMarker3DScaleY(2); s.SetMarker3DScaleZ(-3);
    s.SetMarker3DRotateX(45); s.SetMarker3DRotateY(0.7); s.SetMarker3DRotateZ(-90);
    s.SetFillStyle(3); s.SetFillColor(KrColorValue3D(1, 0, 0.5, 0.25)); s.SetFill3DMode(FILL3D_EXTRUDE);
    s.SetLineStyle(9); s.SetLineWidth(2.75); s.SetLineColor3D(KrColorValue3D(0, 1, 0, 1));

    const BsxUnicodeString xml = s.ToXML(20090106, L"");
    EXPECT_EQ(xml.Find(L"<tdx:Style>"), 0);
    KrStyle back;
    ASSERT_TRUE(back.FromXML(xml, 20090106));
    EXPECT_EQ(back, s);
    EXPECT_EQ(s.ToXML(0, L"tdx:DefaultStyle").Find(L"<tdx:DefaultStyle>"), 0);
    EXPECT_FALSE(back.FromXML(L"<tdx:Style>", 0));
    EXPECT_EQ(back, s);
    // A text changed in place after it was written, or printed by the cursor, reads as changed
    BsxUnicodeString changed = s.ToXML(0, L"");
    ASSERT_EQ(changed.Replace(L">9<", L">7<"), 1);
    ASSERT_TRUE(back.FromXML(changed, 0));
    EXPECT_EQ(back.GetLineStyle(), 7);
    KrMarkup m;
    m.AddElem(L"r");
    m.AddSubDoc(xml.Cstr(), false, true);
    KrMarkup read(m.GetDoc().Cstr());
    read.FindChildElem(L"tdx:Style");
    ASSERT_TRUE(back.FromXML(read.GetChildSubDoc(), 0));
    EXPECT_EQ(back, s);
    changed = read.GetChildSubDoc();
    ASSERT_EQ(changed.Replace(L">9<", L">6<"), 1);
    ASSERT_TRUE(back.FromXML(changed, 0));
    EXPECT_EQ(back.GetLineStyle(), 6);

    KrTextStyle t;
    t.SetHalo(true); t.SetSize(20); t.SetHeight(8); t.SetForeColor(BSXRGBA(255, 255, 0, 255));
    t.SetFaceName(L"Noto Sans"); t.SetFixedSize(true); t.SetAlign(6);
    BsxUnicodeString txml = t.ToXML(0);
    EXPECT_EQ(txml.Find(L"<tdx:TextStyle>"), 0);
    txml.Replace(L"TextStyle", L"ItemTextStyle");
    KrTextStyle tback;
    ASSERT_TRUE(tback.FromXML(txml, 0));
    EXPECT_EQ(tback, t);
}

namespace {
class PlainTheme : public KrTheme3D {
public:
    explicit PlainTheme(KrTheme3DType type) { m_type = type; }
};
} // namespace

TEST(KrTheme3DTest, BaseStateRoundTripsAndExternalValues)
{
    PlainTheme t(KrTheme3D::Theme3DRange);
    t.SetExternalValueMode(2);
    t.SetAliasSuffix(L"_7");
    t.SetOffset(3, -4);
    t.SetAlonglineText(true);
    t.SetExternalValue(L"k", L"v");
    t.SetExternalValue(L"a&b", L"<x>");

    BsxUnicodeString same(L"k");
    EXPECT_TRUE(t.GetExternalValue(same, same));
    EXPECT_EQ(same, L"v");
    BsxUnicodeString miss(L"zz");
    EXPECT_FALSE(t.GetExternalValue(miss, miss));
    EXPECT_EQ(miss, L"zz");

    PlainTheme back(KrTheme3D::Theme3DUnique);
    ASSERT_TRUE(back.FromXML(t.ToXML(0, L""), 0, L""));
    EXPECT_EQ(back.GetType(), KrTheme3D::Theme3DRange);
    EXPECT_EQ(back.GetExternalValueMode(), 2);
    EXPECT_EQ(back.GetAliasSuffix(), L"_7");
    int x = 0, y = 0;
    back.GetOffset(x, y);
    EXPECT_EQ(std::make_pair(x, y), std::make_pair(3, -4));
    EXPECT_TRUE(back.IsAlonglineText());
    BsxUnicodeString v;
    EXPECT_TRUE(back.GetExternalValue(L"a&b", v));
    EXPECT_EQ(v, L"<x>");

    PlainTheme other(KrTheme3D::Theme3DLabel);
    EXPECT_FALSE(other.FromXML(L"<tdx:Other/>", 0, L""));
    EXPECT_FALSE(other.FromXML(L"<tdx:Theme3D>", 0, L""));
    EXPECT_EQ(other.GetType(), KrTheme3D::Theme3DLabel);
}

TEST(KrTheme3DTest, VariantConversions)
{
    double d = -1;
    for (const auto& ok : std::vector<std::pair<BsxVariant, double>>{{BsxVariant(static_cast<short>(-5)), -5},
                                                                     {BsxVariant(L" 12.5 "), 12.5}}) {
        EXPECT_TRUE(KrTheme3D::Variant2Double(ok.first, d));
        EXPECT_EQ(d, ok.second);
    }
    // A refused conversion leaves the number alone
    for (const BsxVariant& bad : {BsxVariant(L"12abc"), BsxVariant(L"nan"), BsxVariant()}) {
        EXPECT_FALSE(KrTheme3D::Variant2Double(bad, d));
        EXPECT_EQ(d, 12.5);
    }
    EXPECT_EQ(KrTheme3D::Variant2String(BsxVariant(3)), L"3");
}
