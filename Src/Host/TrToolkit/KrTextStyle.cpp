#include "KrTextStyle.h"

#include "KrMarkup.h"
#include "KrStylePropertyIo.h"

namespace KRN {

BSX::BsxUnicodeString KrTextStyle::ToXML(int) const
{
    KrMarkup markup;
    markup.AddElem(L"tdx:TextStyle");
    StyleXml::PropertyWriter writer{markup};
    VisitProperties(*this, writer);
    return markup.GetDoc();
}

bool KrTextStyle::FromXML(const BSX::BsxUnicodeString& xml, int)
{
    KrMarkup markup(xml.Cstr());
    if (!markup.FindElem()) return false;
    KrTextStyle read;
    StyleXml::PropertyReader reader{markup};
    VisitProperties(read, reader);
    *this = read;
    return true;
}

bool operator==(const KrTextStyle& a, const KrTextStyle& b)
{
    return a.m_halo == b.m_halo && a.m_haloColor == b.m_haloColor && a.m_size == b.m_size && a.m_height == b.m_height &&
           a.m_foreColor == b.m_foreColor && a.m_faceName == b.m_faceName && a.m_fixedSize == b.m_fixedSize &&
           a.m_align == b.m_align && a.m_bold == b.m_bold && a.m_italic == b.m_italic;
}

} // namespace KRN
