#include "KrTextStyle.h"

#include "KrMarkup.h"
#include "KrStylePropertyIo.h"

namespace KRN {

BSX::BsxUnicodeString KrTextStyle::ToXML(int) const { return StyleXml::WriteProperties(*this, L"tdx:TextStyle"); }

bool KrTextStyle::FromXML(const BSX::BsxUnicodeString& xml, int) { return StyleXml::ReadProperties(xml, *this); }

bool operator==(const KrTextStyle& a, const KrTextStyle& b)
{
    return a.m_halo == b.m_halo && a.m_haloColor == b.m_haloColor && a.m_size == b.m_size && a.m_height == b.m_height &&
           a.m_foreColor == b.m_foreColor && a.m_faceName == b.m_faceName && a.m_fixedSize == b.m_fixedSize &&
           a.m_align == b.m_align && a.m_bold == b.m_bold && a.m_italic == b.m_italic;
}

} // namespace KRN
