// The sample of a tiled run must be the same features however the layer was read: in any order,
// by threads offering to it at once; a process asking for features it did not keep must be told
// which, so that it reads them itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "BsxVariant.h"
#include "DemoSample.h"

using namespace KRN;

namespace {

const BSX::BsxUnicodeString kId = BSX::BsxUnicodeString::FromUtf8("id");

DemoFeature Read(long long fid)
{
    DemoFeature f;
    f.feature = std::make_unique<KrFeature>();
    f.feature->SetField(kId, BSX::BsxVariant(static_cast<int>(fid)));
    f.parts.resize(1);
    f.hasAnchor = true;
    f.anchor = BSX::BsxPoint3D(static_cast<double>(fid), 0.0, 0.0);
    return f;
}

long long IdOf(const DemoFeature& f)
{
    BSX::BsxVariant v;
    return f.feature && f.feature->GetValue(kId, v) ? v.GetInt32() : -1;
}

std::vector<long long> Ids(std::vector<DemoFeature> features)
{
    std::vector<long long> ids;
    for (const DemoFeature& f : features) {
        EXPECT_TRUE(f.parts.empty()) << "a sample keeps no geometry";
        EXPECT_EQ(f.anchor.x, static_cast<double>(IdOf(f)));
        ids.push_back(IdOf(f));
    }
    return ids;
}

} // namespace

TEST(Sample, SameFeaturesWhateverOrderOrSplit)
{
    const long long count = 3 * static_cast<long long>(DemoSample::kSize);
    // The smallest hashes, found by sorting everything
    std::vector<std::pair<std::uint64_t, long long>> all;
    for (long long fid = 0; fid < count; ++fid) all.emplace_back(DemoSample::Hash(fid), fid);
    std::sort(all.begin(), all.end());
    std::vector<long long> expected;
    for (size_t i = 0; i < DemoSample::kSize; ++i) expected.push_back(all[i].second);
    std::sort(expected.begin(), expected.end());

    DemoSample forward;
    for (long long fid = 0; fid < count; ++fid) {
        DemoFeature f = Read(fid);
        forward.Offer(fid, f);
        EXPECT_EQ(f.parts.size(), 1u) << "the reader keeps the parts it read";
    }
    EXPECT_EQ(forward.Size(), DemoSample::kSize);
    EXPECT_EQ(Ids(forward.TakeSorted()), expected);
    EXPECT_EQ(forward.Size(), 0u);

    // Read backwards by two threads at once, one taking the odd identifiers, one the even
    DemoSample shared;
    auto reader = [&shared, count](long long parity) {
        for (long long fid = count - 1 - parity; fid >= 0; fid -= 2) {
            DemoFeature f = Read(fid);
            shared.Offer(fid, f);
        }
    };
    std::thread odd(reader, 0), even(reader, 1);
    odd.join();
    even.join();
    EXPECT_EQ(Ids(shared.TakeSorted()), expected);
}

TEST(Sample, TakeTellsWhatItDidNotKeep)
{
    DemoSample sample;
    for (long long fid : {5LL, 9LL, 2LL}) {
        DemoFeature f = Read(fid);
        sample.Offer(fid, f);
    }
    std::vector<DemoFeature> features;
    std::vector<long long> missing;
    sample.Take({9, 4, 2, 7}, features, missing);
    ASSERT_EQ(features.size(), 4u);
    EXPECT_EQ(IdOf(features[0]), 9);
    EXPECT_EQ(IdOf(features[2]), 2);
    EXPECT_FALSE(features[1].feature);
    EXPECT_EQ(missing, (std::vector<long long>{4, 7}));
    EXPECT_EQ(sample.Size(), 0u) << "what was not asked for is let go";
}
