#pragma once
// The features a tiled run keeps at hand beside the layer's summary (the drawers' layer, the
// spacing of charts; classes come from the summary): attributes, geometry kind and anchor of
// those whose identifiers hash smallest, at most kSize of them. The hash is
// fixed, so the choice is the same whatever order or threads read the layer in. Threads may offer
// to one sample at once.
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "DemoLayer.h"

namespace KRN {

class DemoSample {
public:
    static constexpr size_t kSize = 65536;

    // splitmix64 of the identifier
    static std::uint64_t Hash(long long fid);

    DemoSample() = default;
    DemoSample(const DemoSample&) = delete;
    DemoSample& operator=(const DemoSample&) = delete;

    // Keeps the feature's attributes, geometry kind and anchor when its hash is among the
    // smallest; its parts (and the record, when it is not kept) stay with the caller. Most
    // features of a large layer are turned away without taking the lock.
    void Offer(long long fid, DemoFeature& feature);

    size_t Size() const;
    // The features kept, in identifier order; the sample is left empty
    std::vector<DemoFeature> TakeSorted();
    // The kept features of those identifiers (in any order), moved into the same places of
    // `features`; the identifiers it does not hold are listed in `missing` (their places are
    // left empty). The sample is left empty: what was not asked for is let go.
    void Take(const std::vector<long long>& fids, std::vector<DemoFeature>& features, std::vector<long long>& missing);

private:
    // The heap orders small keys; the features stay in their slots. A feature let go frees its
    // record at once, so that the next one read takes its memory back while it is warm.
    struct Key {
        std::uint64_t hash = 0;
        long long fid = 0;
        std::uint32_t slot = 0;
    };
    struct Before {
        bool operator()(const Key& a, const Key& b) const { return a.hash != b.hash ? a.hash < b.hash : a.fid < b.fid; }
    };
    // Keeps a feature whose key is among the smallest (under the lock)
    void Keep(Key key, DemoFeature&& feature);
    // Every kept feature with its key, in identifier order; the sample is left empty
    void Release(std::vector<Key>& keys, std::vector<DemoFeature>& slots);

    mutable std::mutex m_mutex;
    // A max-heap by Before: its front is the first to go
    std::vector<Key> m_heap;
    std::vector<DemoFeature> m_slots;
    // The front's hash once full (the largest kept): a larger one is never kept, which Offer
    // tells before it locks
    std::atomic<std::uint64_t> m_bound{~std::uint64_t(0)};
};

} // namespace KRN
