// Loads TrTheme3DBase.t3d the way a host does (dlopen, dlsym of the plain entry point) and uses
// the themes only through the host's base class.
#include <gtest/gtest.h>

#include <csignal>
#include <dlfcn.h>
#include <memory>

#include "BsxVariant.h"
#include "KrLogFile.h"
#include "KrTheme3D.h"
#include "KrTheme3DFactory.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {

// The golden document of each kind, enough for lookups that show whether items are shared
BsxUnicodeString Document(int type)
{
    const char* const names[] = {"", "unique_sample.xml", "range_small.xml", "label_configured.xml",
                                 "graph_configured.xml", "custom_all.xml"};
    return T3DTest::ReadData(names[type]);
}

class PluginTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        handle = dlopen(T3D_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle, nullptr) << dlerror();
        create = reinterpret_cast<CreateTheme3DFactoryFn>(dlsym(handle, "CreateTheme3DFactory"));
        ASSERT_NE(create, nullptr) << dlerror();
    }
    // The library stays loaded: the signal handlers it installed point into the host's log
    static void* handle;
    static CreateTheme3DFactoryFn create;
};

void* PluginTest::handle = nullptr;
CreateTheme3DFactoryFn PluginTest::create = nullptr;

using ThemePtr = std::unique_ptr<KrTheme3D>;

} // namespace

TEST_F(PluginTest, LoadingInstallsOnlyTheLogDumpOnTheFatalSignals)
{
    for (int sig : {SIGINT, SIGILL, SIGFPE, SIGSEGV, SIGTERM, SIGABRT}) {
        struct sigaction current {};
        ASSERT_EQ(sigaction(sig, nullptr, &current), 0);
        EXPECT_EQ(reinterpret_cast<void*>(current.sa_handler), reinterpret_cast<void*>(&KrLogFile::Dump)) << sig;
    }
    struct sigaction other {};
    sigaction(SIGUSR1, nullptr, &other);
    EXPECT_EQ(other.sa_handler, SIG_DFL);
}

TEST_F(PluginTest, ExportsTheProjectVersionUnderItsPlainName)
{
    auto version = reinterpret_cast<const char* (*)()>(dlsym(handle, "TrTheme3DBaseVersion"));
    ASSERT_NE(version, nullptr) << dlerror();
    EXPECT_STREQ(version(), T3D_PROJECT_VERSION);
}

TEST_F(PluginTest, FactoryNamesItselfAndReportsFiveKinds)
{
    std::unique_ptr<KrTheme3DFactory> factory(create());
    std::unique_ptr<KrTheme3DFactory> second(create());
    ASSERT_TRUE(factory);
    EXPECT_NE(factory.get(), second.get());
    EXPECT_EQ(factory->GetName(), L"Terrasyn BaseTheme3Ds");

    BsxArray<int> types;
    types.Add(42);
    types.Add(-1);
    EXPECT_EQ(factory->GetSupportTheme3DType(types), 7);
    ASSERT_EQ(types.GetSize(), 7);
    EXPECT_EQ(types[0], 42);
    EXPECT_EQ(types[1], -1);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(types[2 + i], i + 1);

    for (int code : {-1, 0, 6, 1000}) {
        EXPECT_FALSE(factory->IsSupportTheme3D(code));
        EXPECT_EQ(factory->NewTheme3D(code), nullptr);
    }
    EXPECT_EQ(factory->CloneTheme3D(nullptr), nullptr);
}

TEST_F(PluginTest, EveryKindIsCreatedReadAndClonedIntoAnIndependentCopy)
{
    std::unique_ptr<KrTheme3DFactory> factory(create());
    for (int code = 1; code <= 5; ++code) {
        SCOPED_TRACE(code);
        ASSERT_TRUE(factory->IsSupportTheme3D(code));
        ThemePtr source(factory->NewTheme3D(code));
        ASSERT_TRUE(source);
        EXPECT_EQ(source->GetType(), code);
        ASSERT_TRUE(source->FromXML(Document(code), 0, L"")) << T3DTest::U8(Document(code));
        source->SetAliasSuffix(L"_src");
        const BsxUnicodeString before = source->ToXML(0, L"");
        ASSERT_FALSE(before.IsEmpty());

        ThemePtr clone(factory->CloneTheme3D(source.get()));
        ASSERT_TRUE(clone);
        EXPECT_NE(clone.get(), source.get());
        EXPECT_EQ(clone->GetType(), code);
        EXPECT_EQ(clone->ToXML(0, L""), before);

        // Changing the clone leaves the source as it was
        clone->SetAliasSuffix(L"_clone");
        ASSERT_TRUE(clone->FromXML(Document(code), 0, L""));
        clone->SetOffset(7, 8);
        EXPECT_EQ(source->ToXML(0, L""), before);
        EXPECT_EQ(source->GetAliasSuffix(), L"_src");

        // Lookups hand out the copy's own styles, which outlive the source
        const BsxVariant value = code == 1 ? BsxVariant(L"b") : BsxVariant(25.0);
        if (code <= 2) {
            const KrStyle* mine = clone->FindStyle(value);
            const KrStyle* theirs = source->FindStyle(value);
            ASSERT_NE(mine, nullptr);
            EXPECT_NE(mine, theirs);
        }
        const BsxUnicodeString cloneXml = clone->ToXML(0, L"");
        source.reset();
        EXPECT_EQ(clone->ToXML(0, L""), cloneXml);
        clone->FindStyle(value);
    }
}

TEST_F(PluginTest, CloningDispatchesOnTheTypeCode)
{
    std::unique_ptr<KrTheme3DFactory> factory(create());
    // A host theme that is none of the module's kinds
    class Foreign : public KrTheme3D {
    public:
        explicit Foreign(KrTheme3DType type) { m_type = type; }
    };
    Foreign unknownCode(static_cast<KrTheme3D::KrTheme3DType>(9));
    Foreign wrongClass(KrTheme3D::Theme3DRange);
    EXPECT_EQ(factory->CloneTheme3D(&unknownCode), nullptr);
    EXPECT_EQ(factory->CloneTheme3D(&wrongClass), nullptr);
}
