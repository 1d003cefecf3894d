#include "KrTheme3DBaseFactory.h"

#include "KrTheme3DCustom.h"
#include "KrTheme3DGraph.h"
#include "KrTheme3DLabel.h"
#include "KrTheme3DRange.h"
#include "KrTheme3DUnique.h"

namespace KRN {

namespace {
const int kFirstType = KrTheme3D::Theme3DUnique;
const int kLastType = KrTheme3D::Theme3DCustom;

// Default construction, then the kind's own assignment from the source
template <class Kind>
KrTheme3D* CloneAs(const KrTheme3D* source)
{
    const Kind* typed = dynamic_cast<const Kind*>(source);
    if (!typed) return nullptr;
    Kind* clone = new Kind();
    *clone = *typed;
    return clone;
}
} // namespace

KrTheme3DBaseFactory::KrTheme3DBaseFactory() = default;
KrTheme3DBaseFactory::KrTheme3DBaseFactory(const KrTheme3DBaseFactory&) : KrTheme3DFactory() {}
KrTheme3DBaseFactory& KrTheme3DBaseFactory::operator=(const KrTheme3DBaseFactory&) { return *this; }
KrTheme3DBaseFactory::~KrTheme3DBaseFactory() = default;

bool KrTheme3DBaseFactory::IsSupportTheme3D(int type) { return type >= kFirstType && type <= kLastType; }

int KrTheme3DBaseFactory::GetSupportTheme3DType(BSX::BsxArray<int>& types)
{
    for (int type = kFirstType; type <= kLastType; ++type) types.Add(type);
    return types.GetSize();
}

BSX::BsxUnicodeString KrTheme3DBaseFactory::GetName() { return BSX::BsxUnicodeString(L"Terrasyn BaseTheme3Ds"); }

KrTheme3D* KrTheme3DBaseFactory::NewTheme3D(int type)
{
    switch (type) {
    case KrTheme3D::Theme3DUnique: return new KrTheme3DUnique();
    case KrTheme3D::Theme3DRange: return new KrTheme3DRange();
    case KrTheme3D::Theme3DLabel: return new KrTheme3DLabel();
    case KrTheme3D::Theme3DGraph: return new KrTheme3DGraph();
    case KrTheme3D::Theme3DCustom: return new KrTheme3DCustom();
    default: return nullptr;
    }
}

KrTheme3D* KrTheme3DBaseFactory::CloneTheme3D(KrTheme3D* source)
{
    if (!source) return nullptr;
    // Dispatch by the type code, not by asking the object's class
    switch (source->GetType()) {
    case KrTheme3D::Theme3DUnique: return CloneAs<KrTheme3DUnique>(source);
    case KrTheme3D::Theme3DRange: return CloneAs<KrTheme3DRange>(source);
    case KrTheme3D::Theme3DLabel: return CloneAs<KrTheme3DLabel>(source);
    case KrTheme3D::Theme3DGraph: return CloneAs<KrTheme3DGraph>(source);
    case KrTheme3D::Theme3DCustom: return CloneAs<KrTheme3DCustom>(source);
    default: return nullptr;
    }
}

} // namespace KRN
