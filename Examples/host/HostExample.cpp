// A host as an engine writes one: loads TrTheme3DBase.t3d with dlopen, checks its version,
// creates every kind of theme through the factory, restores a range theme from a document,
// draws with it, saves it, restores the saved text into a fresh theme and clones it.
// Everything goes through the host's base classes; no class of the plug-in is named.
// Usage: t3d_host [path to TrTheme3DBase.t3d]
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <memory>

#include "BsxVariant.h"
#include "KrTheme3D.h"
#include "KrTheme3DFactory.h"

using namespace BSX;
using namespace KRN;

namespace {

// Three ranges of a population field: below 10, 10 to 20, 20 and above
const wchar_t kRangeDocument[] =
    L"<tdx:Theme3D><tdx:Type>2</tdx:Type><tdx:FieldExpression>POP</tdx:FieldExpression>"
    L"<tdx:RangeItems tdx:Descending=\"FALSE\">"
    L"<tdx:RangeItem><tdx:RangeValue>X&lt;10</tdx:RangeValue><tdx:Caption>small</tdx:Caption></tdx:RangeItem>"
    L"<tdx:RangeItem><tdx:RangeValue>10&lt;=X&lt;20</tdx:RangeValue><tdx:Caption>medium</tdx:Caption></tdx:RangeItem>"
    L"<tdx:RangeItem><tdx:RangeValue>X&gt;=20</tdx:RangeValue><tdx:Caption>large</tdx:Caption></tdx:RangeItem>"
    L"</tdx:RangeItems></tdx:Theme3D>";

using ThemePtr = std::unique_ptr<KrTheme3D>;

// The style a range theme answers for 4, 15 and 25: three distinct styles of the theme
bool DrawsThreeRanges(const char* what, const KrTheme3D& theme)
{
    const KrStyle* small = theme.FindStyle(BsxVariant(4.0));
    const KrStyle* medium = theme.FindStyle(BsxVariant(15.0));
    const KrStyle* large = theme.FindStyle(BsxVariant(25.0));
    const bool ok = small && medium && large && small != medium && medium != large;
    std::printf("  %-9s lookups of 4, 15 and 25: %s\n", what, ok ? "three ranges" : "FAILED");
    return ok;
}

int Fail(const char* message, const char* detail = "")
{
    std::fprintf(stderr, "t3d_host: %s%s\n", message, detail);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : T3D_PLUGIN;
    void* plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!plugin) return Fail("cannot load the plug-in: ", dlerror());
    std::printf("Loaded %s\n", path);

    auto version = reinterpret_cast<const char* (*)()>(dlsym(plugin, "TrTheme3DBaseVersion"));
    auto create = reinterpret_cast<CreateTheme3DFactoryFn>(dlsym(plugin, "CreateTheme3DFactory"));
    if (!version || !create) return Fail("the plug-in lacks its exports: ", dlerror());
    std::printf("Plug-in version %s (package %s)\n", version(), T3D_PACKAGE_VERSION);
    if (std::strcmp(version(), T3D_PACKAGE_VERSION) != 0) return Fail("the plug-in is not the packaged one");

    int failures = 0;
    {
        std::unique_ptr<KrTheme3DFactory> factory(create());
        BsxArray<int> kinds;
        factory->GetSupportTheme3DType(kinds);
        std::printf("Factory \"%s\" supplies %d kinds\n", factory->GetName().ToUtf8().c_str(), kinds.GetSize());
        for (int kind : kinds) {
            ThemePtr theme(factory->NewTheme3D(kind));
            const bool ok = theme && theme->GetType() == kind && !theme->ToXML(0, L"").IsEmpty();
            std::printf("  kind %d: query field %-14s document %s\n", kind,
                        theme ? theme->GetFieldName(false).ToUtf8().c_str() : "-", ok ? "written" : "FAILED");
            failures += ok ? 0 : 1;
        }

        std::printf("Range theme restored from a document, saved and restored again:\n");
        ThemePtr range(factory->NewTheme3D(KrTheme3D::Theme3DRange));
        if (!range->FromXML(kRangeDocument, 0, L"")) return Fail("the range document was refused");
        failures += DrawsThreeRanges("read", *range) ? 0 : 1;

        const BsxUnicodeString saved = range->ToXML(0, L"");
        ThemePtr restored(factory->NewTheme3D(KrTheme3D::Theme3DRange));
        const bool reread = restored->FromXML(saved, 0, L"") && restored->ToXML(0, L"") == saved;
        std::printf("  saved %d characters; restored into a new theme: %s\n", saved.GetLength(),
                    reread ? "same document" : "FAILED");
        failures += reread ? 0 : 1;
        failures += DrawsThreeRanges("restored", *restored) ? 0 : 1;

        ThemePtr clone(factory->CloneTheme3D(restored.get()));
        restored.reset();
        failures += clone && DrawsThreeRanges("clone", *clone) ? 0 : 1;
    }
    // Every theme and the factory are gone; the plug-in stays loaded for the life of the
    // process, as engines keep their plug-ins
    std::printf("%s\n", failures == 0 ? "All done." : "Some steps FAILED.");
    return failures == 0 ? 0 : 1;
}
