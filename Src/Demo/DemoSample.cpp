#include "DemoSample.h"

#include <algorithm>

namespace KRN {

std::uint64_t DemoSample::Hash(long long fid)
{
    std::uint64_t v = static_cast<std::uint64_t>(fid) + 0x9E3779B97F4A7C15ull;
    v = (v ^ (v >> 30)) * 0xBF58476D1CE4E5B9ull;
    v = (v ^ (v >> 27)) * 0x94D049BB133111EBull;
    return v ^ (v >> 31);
}

void DemoSample::Keep(Key key, DemoFeature&& feature)
{
    if (m_heap.size() < kSize) {
        key.slot = static_cast<std::uint32_t>(m_slots.size());
        m_slots.push_back(std::move(feature));
        m_heap.push_back(key);
        std::push_heap(m_heap.begin(), m_heap.end(), Before());
    } else {
        std::pop_heap(m_heap.begin(), m_heap.end(), Before());
        key.slot = m_heap.back().slot;
        m_slots[key.slot] = std::move(feature);
        m_heap.back() = key;
        std::push_heap(m_heap.begin(), m_heap.end(), Before());
    }
    if (m_heap.size() == kSize) m_bound.store(m_heap.front().hash, std::memory_order_relaxed);
}

void DemoSample::Offer(long long fid, DemoFeature& feature)
{
    Key key;
    key.hash = Hash(fid);
    key.fid = fid;
    if (key.hash > m_bound.load(std::memory_order_relaxed)) return;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_heap.size() == kSize && !Before()(key, m_heap.front())) return;
    DemoFeature kept;
    kept.feature = std::move(feature.feature);
    kept.geometryType = feature.geometryType;
    kept.anchor = feature.anchor;
    kept.hasAnchor = feature.hasAnchor;
    Keep(key, std::move(kept));
}

void DemoSample::Release(std::vector<Key>& keys, std::vector<DemoFeature>& slots)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        keys.swap(m_heap);
        slots.swap(m_slots);
        m_heap.clear();
        m_slots.clear();
        m_bound.store(~std::uint64_t(0), std::memory_order_relaxed);
    }
    std::sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) { return a.fid < b.fid; });
}

size_t DemoSample::Size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_heap.size();
}

std::vector<DemoFeature> DemoSample::TakeSorted()
{
    std::vector<Key> keys;
    std::vector<DemoFeature> slots;
    Release(keys, slots);
    std::vector<DemoFeature> out;
    out.reserve(keys.size());
    for (const Key& k : keys) out.push_back(std::move(slots[k.slot]));
    return out;
}

void DemoSample::Take(const std::vector<long long>& fids, std::vector<DemoFeature>& features, std::vector<long long>& missing)
{
    std::vector<Key> keys;
    std::vector<DemoFeature> slots;
    Release(keys, slots);
    features.clear();
    features.resize(fids.size());
    missing.clear();
    for (size_t i = 0; i < fids.size(); ++i) {
        auto at = std::lower_bound(keys.begin(), keys.end(), fids[i], [](const Key& k, long long fid) { return k.fid < fid; });
        DemoFeature* kept = at != keys.end() && at->fid == fids[i] ? &slots[at->slot] : nullptr;
        if (kept && kept->feature) features[i] = std::move(*kept);
        else missing.push_back(fids[i]);
    }
}

} // namespace KRN
