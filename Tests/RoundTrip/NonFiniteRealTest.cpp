// Overflowing, infinite and NaN reals in every element of every kind that holds a real: the value
// survives as itself, and the documents of the first, second and third save are the same.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "TestSupport.h"
#include "ThemeGenerator.h"

using BSX::BsxUnicodeString;
using namespace KRN;

namespace {

// Reads a document into a new theme (or chart item) and answers what it writes
using Resave = std::function<std::string(const std::string&)>;

template <class Theme>
std::pair<std::string, Resave> Kind(T3DTest::ThemeGenerator& gen)
{
    Theme theme;
    gen.Fill(theme);
    return {theme.ToXML(0, BsxUnicodeString(L"/d")).ToUtf8(), [](const std::string& text) {
                Theme read;
                read.FromXML(BsxUnicodeString::FromUtf8(text), 0, BsxUnicodeString(L"/d"));
                return read.ToXML(0, BsxUnicodeString(L"/d")).ToUtf8();
            }};
}

// Every simple element holding a number, with that number replaced by value, one at a time.
// The host's own style formats are left out.
template <class Visit>
void ForEachNumber(const std::string& doc, const std::set<std::string>& skip, Visit visit)
{
    static const std::regex leaf(R"(<(tdx:\w+)>([^<]*)</\1>)"), number(R"(-?([0-9]+(\.[0-9]+)?|inf|nan))");
    std::map<std::string, int> seen;
    for (std::sregex_iterator m(doc.begin(), doc.end(), leaf), end; m != end; ++m) {
        const int occurrence = seen[(*m)[1]]++;
        std::smatch n;
        const std::string text = (*m)[2];
        if (skip.count((*m)[1]) || !std::regex_search(text, n, number)) continue;
        const size_t at = static_cast<size_t>(m->position(2) + n.position(0));
        visit((*m)[1], occurrence, [&doc, at, &n](const std::string& value) {
            return doc.substr(0, at) + value + doc.substr(at + static_cast<size_t>(n.length(0)));
        });
    }
}

// Text of the occurrence-th element of that name
std::string ElementText(const std::string& doc, const std::string& name, int occurrence)
{
    size_t at = 0;
    for (int i = 0; i <= occurrence && at != std::string::npos; ++i) at = doc.find("<" + name + ">", at + 1);
    return at == std::string::npos ? std::string() : doc.substr(at, doc.find("</" + name + ">", at) - at);
}

} // namespace

TEST(NonFiniteReals, SurviveEveryElementOfEveryKindThroughRepeatedSaves)
{
    std::set<std::string> hostStyle;
    const std::string styles = KrStyle().ToXML(0).ToUtf8() + KrTextStyle().ToXML(0).ToUtf8();
    const std::regex tag(R"(<(tdx:\w+)[ />])");
    for (std::sregex_iterator m(styles.begin(), styles.end(), tag), end; m != end; ++m)
        hostStyle.insert((*m)[1]);
    T3DTest::ThemeGenerator gen(18);
    Kr3DGraphItem item;
    while (item.Type != Kr3DGraphItem::ArrayItem) gen.Fill(item);
    const std::pair<std::string, Resave> kinds[] = {
        Kind<KrTheme3DUnique>(gen), Kind<KrTheme3DRange>(gen), Kind<KrTheme3DLabel>(gen), Kind<KrTheme3DGraph>(gen),
        Kind<KrTheme3DCustom>(gen), {item.ToXML(0).ToUtf8(), [](const std::string& text) {
            Kr3DGraphItem read;
            read.FromXML(BsxUnicodeString::FromUtf8(text), 0);
            return read.ToXML(0).ToUtf8();
        }}};
    const std::pair<const char*, const char*> probes[] = {
        {"1e400", "inf"}, {"-1e400", "-inf"}, {"inf", "inf"}, {"-inf", "-inf"}, {"nan", "nan"}};
    std::set<std::string> covered;
    for (const auto& kind : kinds) {
        ForEachNumber(kind.first, hostStyle, [&](const std::string& name, int occurrence, auto with) {
            // A real-valued element is one that reads 25e-1 as a number and writes it as 2.5
            if (ElementText(kind.second(with("25e-1")), name, occurrence).find("2.5") == std::string::npos) return;
            covered.insert(name);
            for (const auto& probe : probes) {
                const std::string first = kind.second(with(probe.first)), second = kind.second(first);
                // The value itself comes back: "inf" is not "-inf", and neither is 0
                EXPECT_TRUE(std::regex_search(ElementText(first, name, occurrence), std::regex(std::string("[<>=]") + probe.second)))
                    << name << " " << occurrence << " with " << probe.first << ": " << ElementText(first, name, occurrence);
                EXPECT_EQ(first, second) << name << " with " << probe.first;
                EXPECT_EQ(second, kind.second(second)) << name << " with " << probe.first;
            }
        });
    }
    // One element of each writer: range texts, the graph's table, its sizes, the chart item's values
    for (const char* name : {"tdx:RangeValue", "tdx:BarWidth", "tdx:cx", "tdx:ArrayField0"}) EXPECT_TRUE(covered.count(name)) << name;
}
