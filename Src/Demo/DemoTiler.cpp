#include "DemoTiler.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <deque>
#include <dirent.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <thread>

#include <geos_c.h>

#include "DemoDrawer.h"
#include "DemoGlbWriter.h"
#include "DemoJson.h"
#include "DemoLayerStream.h"
#include "DemoOutput.h"
#include "DemoProgress.h"
#include "DemoPreparedLayer.h"
#include "DemoScene.h"
#include "DemoThemeBuilder.h"
#include "DemoTileTree.h"
#include "DemoTileset.h"
#include "KrClassStatistics.h"
#include "KrQuantileSketch.h"

namespace KRN {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kMetresPerDegree = 111320.0;
// A coarser tile is shown until its detail would stand out: until a tile's side spans about
// 32 times the screen-space error that the viewer tolerates
constexpr double kErrorPerSide = 1.0 / 32.0;
// Geometry of coarser tiles is simplified to a 512th of the tile's side
constexpr double kSimplifyPerSide = 1.0 / 512.0;
// A content is closed once its vertices would take about this much (a vertex is 28 bytes)
constexpr size_t kMaxContentBytes = 16u << 20;
constexpr size_t kVertexBytes = 28;
// Room around a tile's rectangle when asking the source for its features, in degrees
constexpr double kQueryMargin = 1e-9;
// Identifiers per span of the scan: the unit that threads take in turn
constexpr long long kScanSpan = 1 << 16;

std::atomic<int> g_signal{0};

void OnSignal(int signal) { g_signal.store(signal); }

// Catches Ctrl-C and termination while tiles are written, so that the run can remove them
class SignalGuard {
public:
    SignalGuard()
    {
        g_signal.store(0);
        m_int = std::signal(SIGINT, OnSignal);
        m_term = std::signal(SIGTERM, OnSignal);
    }
    ~SignalGuard()
    {
        std::signal(SIGINT, m_int);
        std::signal(SIGTERM, m_term);
    }
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

private:
    void (*m_int)(int);
    void (*m_term)(int);
};

std::uint64_t Mix(std::uint64_t v)
{
    // splitmix64: a fixed, well-spread hash of the feature identifier chooses the sample
    v += 0x9E3779B97F4A7C15ull;
    v = (v ^ (v >> 30)) * 0xBF58476D1CE4E5B9ull;
    v = (v ^ (v >> 27)) * 0x94D049BB133111EBull;
    return v ^ (v >> 31);
}

// Extent of a feature's geometry on the ground, in metres (its bounding box diagonal)
double FeatureSize(const DemoFeature& f)
{
    double w = 180.0, s = 90.0, e = -180.0, n = -90.0;
    for (const DemoPart& part : f.parts) {
        for (const auto& ring : part.rings) {
            for (const auto& p : ring) w = std::min(w, p.x), e = std::max(e, p.x), s = std::min(s, p.y), n = std::max(n, p.y);
        }
    }
    if (w > e) return 0.0;
    const double dx = (e - w) * kMetresPerDegree * std::cos((s + n) * 0.5 * 3.14159265358979323846 / 180.0);
    return std::hypot(dx, (n - s) * kMetresPerDegree);
}

double SideMetres(const std::array<double, 4>& r)
{
    const double mid = (r[1] + r[3]) * 0.5 * 3.14159265358979323846 / 180.0;
    return std::max((r[2] - r[0]) * kMetresPerDegree * std::cos(mid), (r[3] - r[1]) * kMetresPerDegree);
}

struct GeosHandle {
    GEOSContextHandle_t h = GEOS_init_r();
    GeosHandle()
    {
        GEOSContext_setErrorMessageHandler_r(h, [](const char*, void*) {}, nullptr);
        GEOSContext_setNoticeMessageHandler_r(h, [](const char*, void*) {}, nullptr);
    }
    ~GeosHandle() { GEOS_finish_r(h); }
};

GEOSGeometry* Ring(GEOSContextHandle_t h, const std::vector<BSX::BsxPoint3D>& ring, bool closed)
{
    std::vector<BSX::BsxPoint3D> pts(ring);
    if (closed && pts.size() >= 2 && (pts.front().x != pts.back().x || pts.front().y != pts.back().y))
        pts.push_back(pts.front());
    if (pts.size() < (closed ? 4u : 2u)) return nullptr;
    GEOSCoordSequence* seq = GEOSCoordSeq_create_r(h, static_cast<unsigned>(pts.size()), 3);
    if (!seq) return nullptr;
    for (size_t i = 0; i < pts.size(); ++i) GEOSCoordSeq_setXYZ_r(h, seq, static_cast<unsigned>(i), pts[i].x, pts[i].y, pts[i].z);
    return closed ? GEOSGeom_createLinearRing_r(h, seq) : GEOSGeom_createLineString_r(h, seq);
}

std::vector<BSX::BsxPoint3D> Points(GEOSContextHandle_t h, const GEOSGeometry* g)
{
    std::vector<BSX::BsxPoint3D> pts;
    const GEOSCoordSequence* seq = g ? GEOSGeom_getCoordSeq_r(h, g) : nullptr;
    unsigned n = 0;
    if (!seq || !GEOSCoordSeq_getSize_r(h, seq, &n)) return pts;
    for (unsigned i = 0; i < n; ++i) {
        double x = 0, y = 0, z = 0;
        GEOSCoordSeq_getXYZ_r(h, seq, i, &x, &y, &z);
        pts.emplace_back(x, y, std::isfinite(z) ? z : 0.0);
    }
    return pts;
}

// Simplifies the lines and polygons of a feature with GEOS, keeping each polygon's rings free
// of crossings; a part that the simplification would break keeps its full geometry
void Simplify(GEOSContextHandle_t h, DemoFeature& f, double tolerance)
{
    const int kind = f.geometryType % 100;
    if (kind != KrGeometry::GEO_REGION && kind != KrGeometry::GEO_LINE) return;
    for (DemoPart& part : f.parts) {
        if (part.rings.empty()) continue;
        GEOSGeometry* g = nullptr;
        if (kind == KrGeometry::GEO_LINE) {
            g = Ring(h, part.rings.front(), false);
        } else if (GEOSGeometry* shell = Ring(h, part.rings.front(), true)) {
            std::vector<GEOSGeometry*> holes;
            for (size_t r = 1; r < part.rings.size(); ++r) {
                if (GEOSGeometry* hole = Ring(h, part.rings[r], true)) holes.push_back(hole);
            }
            g = GEOSGeom_createPolygon_r(h, shell, holes.data(), static_cast<unsigned>(holes.size()));
        }
        if (!g) continue;
        GEOSGeometry* s = GEOSTopologyPreserveSimplify_r(h, g, tolerance);
        if (s && kind == KrGeometry::GEO_LINE && GEOSGeomTypeId_r(h, s) == GEOS_LINESTRING) {
            std::vector<BSX::BsxPoint3D> pts = Points(h, s);
            if (pts.size() >= 2) part.rings.front() = std::move(pts);
        } else if (s && GEOSGeomTypeId_r(h, s) == GEOS_POLYGON && !GEOSisEmpty_r(h, s)) {
            std::vector<std::vector<BSX::BsxPoint3D>> rings;
            rings.push_back(Points(h, GEOSGetExteriorRing_r(h, s)));
            for (int r = 0; r < GEOSGetNumInteriorRings_r(h, s); ++r) rings.push_back(Points(h, GEOSGetInteriorRingN_r(h, s, r)));
            if (rings.front().size() >= 4) part.rings = std::move(rings);
        }
        if (s) GEOSGeom_destroy_r(h, s);
        GEOSGeom_destroy_r(h, g);
    }
}

// Removes what a run of the tiler leaves in a tiles folder: tiles, label lists, and the hidden
// temporary files of a run that was killed
void RemoveTiles(const std::string& dir)
{
    DIR* d = opendir(dir.c_str());
    if (!d) return;
    std::vector<std::string> doomed;
    auto ends = [](const std::string& name, const std::string& end) {
        return name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0;
    };
    while (dirent* e = readdir(d)) {
        const std::string name = e->d_name;
        if (name == "." || name == "..") continue;
        if (name[0] == '.' || ends(name, ".glb") || ends(name, ".labels.json")) doomed.push_back(name);
    }
    closedir(d);
    for (const std::string& name : doomed) std::remove((dir + "/" + name).c_str());
}

// A feature on its way through the tree: its geometry, its size and its identifier
struct Candidate {
    long long fid = 0;
    double size = 0.0;
    DemoFeature feature;
};

// Larger features first, then by identifier, so the choice never depends on reading order
bool Prominent(const Candidate& a, const Candidate& b) { return a.size != b.size ? a.size > b.size : a.fid < b.fid; }

// What the scan learns about the whole layer
struct Scan {
    DemoTileTree tree;
    // The sampled features (attributes only): a heap of the smallest hashes of their identifiers
    std::vector<std::pair<std::uint64_t, Candidate>> sample;
    std::uint64_t features = 0, unanchored = 0;
    std::string error;
};

using Sampled = std::pair<std::uint64_t, Candidate>;

bool SampleOrder(const Sampled& a, const Sampled& b)
{
    return a.first != b.first ? a.first < b.first : a.second.fid < b.second.fid;
}

// Keeps the features of smallest hash: the same choice whatever order or threads read them in
void Offer(std::vector<Sampled>& heap, Sampled&& s)
{
    if (heap.size() < DemoTiler::kSampleSize) {
        heap.push_back(std::move(s));
        std::push_heap(heap.begin(), heap.end(), SampleOrder);
    } else if (SampleOrder(s, heap.front())) {
        std::pop_heap(heap.begin(), heap.end(), SampleOrder);
        heap.back() = std::move(s);
        std::push_heap(heap.begin(), heap.end(), SampleOrder);
    }
}

void Measure(const DemoFeature& f, std::vector<struct FieldStatistics>& fields);

void ScanPart(DemoLayerStream& stream, Scan& scan, std::vector<struct FieldStatistics>& fields,
              std::atomic<std::uint64_t>& read)
{
    DemoFeature f;
    long long fid = 0;
    while (stream.Next(f, fid)) {
        if (g_signal.load() != 0) return;
        ++scan.features;
        read.fetch_add(1, std::memory_order_relaxed);
        Measure(f, fields);
        if (!f.hasAnchor) {
            ++scan.unanchored;
            continue;
        }
        scan.tree.Count(f.anchor.x, f.anchor.y);
        Sampled s;
        s.first = Mix(static_cast<std::uint64_t>(fid));
        s.second.fid = fid;
        if (scan.sample.size() >= DemoTiler::kSampleSize && !SampleOrder(s, scan.sample.front())) continue;
        s.second.feature.feature = std::move(f.feature);
        s.second.feature.geometryType = f.geometryType;
        s.second.feature.anchor = f.anchor;
        s.second.feature.hasAnchor = true;
        Offer(scan.sample, std::move(s));
    }
}

} // namespace

namespace {

// Statistics of one range theme's field, gathered span by span
struct FieldStatistics {
    BSX::BsxUnicodeString field;
    KrClassStatistics statistics;
    KrQuantileSketch sketch;
};

void Measure(const DemoFeature& f, std::vector<FieldStatistics>& fields)
{
    for (FieldStatistics& s : fields) {
        BSX::BsxVariant v;
        double d = 0.0;
        if (f.feature->GetValue(s.field, v) && KrTheme3D::Variant2Double(v, d) && std::isfinite(d)) {
            s.statistics.Add(d);
            s.sketch.Add(d);
        } else {
            s.statistics.AddNoData();
            s.sketch.AddNoData();
        }
    }
}

// Reads the whole layer once, in spans of identifiers that threads take in turn where the
// source can select them: the anchors' grid counts, the sample, and the statistics of every
// range theme's field. Spans have a fixed size and their statistics merge in span order, so
// that the result is the same whatever the number of threads.
bool ScanLayer(const DemoOptions& options, int threads, Scan& scan, DemoLayer& sampleLayer,
               std::vector<FieldStatistics>& fields, std::string& error)
{
    DemoLayerStream first;
    if (!first.Open(options.dataPath, options.layerName, error)) return false;
    double west = 0, south = 0, east = 0, north = 0;
    if (!first.GetExtent(west, south, east, north)) {
        error = "the layer '" + first.GetName() + "' has no extent to tile";
        return false;
    }
    sampleLayer.name = first.GetName();
    sampleLayer.fields = first.GetFields();
    sampleLayer.bounds = BSX::BsxRect2D(west, north, east, south);
    const long long count = first.CountHint();
    // Identifiers start at 0 or 1 in the formats that number their records; the last span is
    // open so that sparse or shifted identifiers are still all read
    const long long spans = count > 0 && first.ResetSpan(0, 1) ? count / kScanSpan + 1 : 1;
    const int parts = static_cast<int>(std::min<long long>(std::max(1, threads), spans));
    std::vector<Scan> scans(static_cast<size_t>(parts));
    std::vector<std::string> errors(static_cast<size_t>(parts));
    std::atomic<std::uint64_t> read{0};
    std::atomic<long long> nextSpan{0};
    std::mutex merging;
    std::vector<std::unique_ptr<std::vector<FieldStatistics>>> finished(static_cast<size_t>(spans));
    long long merged = 0;
    auto work = [&](int k) {
        Scan& part = scans[static_cast<size_t>(k)];
        part.tree.SetExtent(west, south, east, north);
        DemoLayerStream own;
        DemoLayerStream& stream = k == 0 ? first : own;
        if (k > 0 && !own.Open(options.dataPath, options.layerName, errors[static_cast<size_t>(k)])) return;
        for (long long span = nextSpan++; span < spans && g_signal.load() == 0; span = nextSpan++) {
            if (spans == 1) stream.Reset();
            else stream.ResetSpan(span * kScanSpan, span == spans - 1 ? (1LL << 62) : (span + 1) * kScanSpan);
            auto own = std::make_unique<std::vector<FieldStatistics>>();
            own->resize(fields.size());
            for (size_t i = 0; i < fields.size(); ++i) (*own)[i].field = fields[i].field;
            ScanPart(stream, part, *own, read);
            // Spans merge in their order as soon as the ones before them are done
            std::lock_guard<std::mutex> lock(merging);
            finished[static_cast<size_t>(span)] = std::move(own);
            for (; merged < spans && finished[static_cast<size_t>(merged)]; ++merged) {
                for (size_t i = 0; i < fields.size(); ++i) {
                    fields[i].statistics.Merge((*finished[static_cast<size_t>(merged)])[i].statistics);
                    fields[i].sketch.Merge((*finished[static_cast<size_t>(merged)])[i].sketch);
                }
                finished[static_cast<size_t>(merged)].reset();
            }
        }
    };
    {
        DemoProgress progress("scan", count > 0 ? static_cast<size_t>(count) : 0, options.progress);
        std::vector<std::thread> pool;
        for (int k = 1; k < parts; ++k) pool.emplace_back(work, k);
        std::thread own(work, 0);
        std::atomic<bool> done{false};
        std::thread joiner([&] {
            own.join();
            for (auto& t : pool) t.join();
            done.store(true);
        });
        while (!done.load()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            progress.Update(static_cast<size_t>(read.load()));
        }
        joiner.join();
    }
    for (int k = 0; k < parts; ++k) {
        if (!errors[static_cast<size_t>(k)].empty()) {
            error = errors[static_cast<size_t>(k)];
            return false;
        }
    }
    scan.tree.SetExtent(west, south, east, north);
    for (Scan& part : scans) {
        scan.tree.Merge(part.tree);
        scan.features += part.features, scan.unanchored += part.unanchored;
        for (auto& s : part.sample) Offer(scan.sample, std::move(s));
        part.sample.clear();
    }
    std::sort(scan.sample.begin(), scan.sample.end(), [](const Sampled& a, const Sampled& b) { return a.second.fid < b.second.fid; });
    for (auto& s : scan.sample) sampleLayer.features.push_back(std::move(s.second.feature));
    scan.sample.clear();
    return true;
}

// One node's state while the tree is drawn
struct NodeState {
    DemoTileRecord record;
    // Features handed up by finished children, and the size of the largest one left out below
    std::vector<Candidate> promoted;
    double dropped = 0.0;
    size_t childrenLeft = 0;
};

struct Worker {
    std::unique_ptr<KrTheme3D> theme;
    std::unique_ptr<DemoDrawer> drawer;
    DemoLayerStream stream;
    // Each worker repairs and triangulates its own features with its own GEOS context
    DemoPreparedLayer prepared;
    DemoMesh mesh;
};

class TreeRun {
public:
    TreeRun(const DemoOptions& options, const DemoRun& run, const DemoTileTree& tree, const std::string& dir,
            bool labels, Clock::time_point started)
        : m_options(options), m_run(run), m_tree(tree), m_dir(dir), m_labels(labels), m_started(started),
          m_capacity(static_cast<size_t>(options.tileFeatures)), m_nodes(tree.GetNodes().size())
    {
        for (size_t i = 0; i < m_nodes.size(); ++i) m_nodes[i].childrenLeft = tree.GetNodes()[i].children.size();
        m_leaves = tree.GetLeaves();
    }

    // Draws every node with the workers' themes; false with a message on failure or interrupt
    bool Draw(std::vector<Worker>& workers, std::string& error);
    // Records parallel to the tree's nodes (complete after a successful Draw)
    std::vector<DemoTileRecord> Records() const
    {
        std::vector<DemoTileRecord> out;
        for (const NodeState& n : m_nodes) out.push_back(n.record);
        return out;
    }
    const std::vector<std::string>& Written() const { return m_written; }
    std::uint64_t Bytes() const { return m_bytes; }
    double FirstTileMs() const { return m_firstTileMs; }

private:
    void Loop(Worker& worker);
    bool DrawNode(Worker& worker, int index, std::string& error);
    bool WriteContent(Worker& worker, const DemoTileNode& node, std::vector<Candidate*>& batch, NodeState& state,
                      std::string& error);
    void Fail(const std::string& message);

    const DemoOptions& m_options;
    const DemoRun& m_run;
    const DemoTileTree& m_tree;
    const std::string m_dir;
    const bool m_labels;
    // When the program started: the first tile's time counts the scan and the theme's building
    const Clock::time_point m_started;
    const size_t m_capacity;
    std::vector<NodeState> m_nodes;
    std::vector<int> m_leaves;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<int> m_ready;
    size_t m_nextLeaf = 0, m_done = 0;
    bool m_failed = false;
    std::string m_error;
    std::vector<std::string> m_written;
    std::uint64_t m_bytes = 0;
    double m_firstTileMs = -1.0;
    std::atomic<std::uint64_t> m_featuresDone{0};
};

void TreeRun::Fail(const std::string& message)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_failed) m_error = message;
    m_failed = true;
    m_changed.notify_all();
}

void TreeRun::Loop(Worker& worker)
{
    for (;;) {
        int index = -1;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [&] {
                return m_failed || g_signal.load() != 0 || !m_ready.empty() || m_nextLeaf < m_leaves.size() ||
                       m_done == m_nodes.size();
            });
            if (m_failed || g_signal.load() != 0 || m_done == m_nodes.size()) return;
            // Coarser tiles first: they free the features their children handed up
            if (!m_ready.empty()) {
                index = m_ready.front();
                m_ready.pop_front();
            } else {
                index = m_leaves[m_nextLeaf++];
            }
        }
        std::string error;
        if (!DrawNode(worker, index, error)) {
            Fail(error);
            return;
        }
    }
}

bool TreeRun::Draw(std::vector<Worker>& workers, std::string& error)
{
    if (m_nodes.empty()) return true;
    std::vector<std::thread> pool;
    for (Worker& w : workers) pool.emplace_back([this, &w] { Loop(w); });
    {
        DemoProgress progress(m_run.name.empty() ? "tiles" : m_run.name, static_cast<size_t>(m_tree.GetTotal()),
                              m_options.progress);
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_failed && m_done < m_nodes.size()) {
            if (g_signal.load() != 0) {
                m_failed = true;
                m_error = "interrupted";
                m_changed.notify_all();
                break;
            }
            m_changed.wait_for(lock, std::chrono::milliseconds(100));
            const std::string tiles = "tiles " + std::to_string(m_done) + "/" + std::to_string(m_nodes.size());
            progress.Update(static_cast<size_t>(m_featuresDone.load()), tiles);
        }
    }
    for (auto& t : pool) t.join();
    if (m_failed) error = m_error;
    return !m_failed;
}

bool TreeRun::WriteContent(Worker& worker, const DemoTileNode& node, std::vector<Candidate*>& batch, NodeState& state,
                           std::string& error)
{
    std::sort(batch.begin(), batch.end(), [](const Candidate* a, const Candidate* b) { return a->fid < b->fid; });
    DemoScene scene;
    scene.SetHeightScale(m_run.heightScale);
    DemoJson labels;
    bool anyLabel = false;
    DemoDrawnFeature out;
    size_t next = 0;
    while (next < batch.size() || next == 0) {
        // Feature ids count from 0 in every content, so that its feature table stays small
        const size_t first = next;
        size_t vertices = 0;
        labels = DemoJson();
        labels.BeginObject().Key("labels").BeginArray();
        anyLabel = false;
        for (; next < batch.size(); ++next) {
            const Candidate& c = *batch[next];
            worker.drawer->Draw(c.feature, static_cast<size_t>(c.fid), out);
            scene.BeginFeature(static_cast<std::uint32_t>(next - first), "#" + std::to_string(c.fid));
            if (out.drawn && out.style) {
                BSX::BsxPoint3D anchor;
                if (c.feature.geometryType % 100 == KrGeometry::GEO_REGION) worker.prepared.PrepareFeature(c.feature.parts, worker.mesh, anchor);
                else worker.mesh = DemoMesh();
                scene.AddFeature(c.feature, &worker.mesh, *out.style);
            }
            if (out.chart) scene.AddChart(*out.chart);
            if (m_labels && !out.label.IsEmpty() && c.feature.hasAnchor) {
                labels.BeginObject().Key("text").String(out.label.ToUtf8()).Key("lon").Number(c.feature.anchor.x);
                labels.Key("lat").Number(c.feature.anchor.y).Key("fid").Integer(c.fid).EndObject();
                anyLabel = true;
            }
            vertices = scene.GetVertices().size() + scene.GetLineVertices().size();
            if (vertices * kVertexBytes >= kMaxContentBytes) {
                ++next;
                break;
            }
        }
        labels.EndArray().EndObject();
        if (vertices == 0 && !anyLabel) {
            if (next == 0) break;
            continue;
        }
        const std::string base = "tiles/" + DemoTileTree::Name(node) + "_" + std::to_string(state.record.contents.size());
        std::vector<std::uint8_t> bytes = DemoGlbWriter::Encode(scene);
        DemoRegion region;
        if (!DemoTileset::SceneRegion(scene, region)) region = DemoTileset::RectRegion(m_tree.GetRect(node));
        if (bytes.empty()) {
            error = "the tile " + base + " would exceed 4 GiB";
            return false;
        }
        if (!DemoTileset::WriteAtomically(m_dir + "/" + base + ".glb", bytes.data(), bytes.size(), false, error)) return false;
        const std::string labelText = anyLabel ? labels.Text() + "\n" : std::string();
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_written.push_back(m_dir + "/" + base + ".glb");
            m_bytes += bytes.size();
            if (m_firstTileMs < 0) m_firstTileMs = std::chrono::duration<double, std::milli>(Clock::now() - m_started).count();
        }
        if (anyLabel) {
            if (!DemoTileset::WriteAtomically(m_dir + "/" + base + ".labels.json", labelText.data(), labelText.size(),
                                              false, error))
                return false;
            std::lock_guard<std::mutex> lock(m_mutex);
            m_written.push_back(m_dir + "/" + base + ".labels.json");
            m_bytes += labelText.size();
        }
        state.record.contents.push_back(base + ".glb");
        if (state.record.hasRegion) DemoTileset::Extend(state.record.region, region);
        else state.record.region = region, state.record.hasRegion = true;
        scene = DemoScene();
        scene.SetHeightScale(m_run.heightScale);
        if (next >= batch.size()) break;
    }
    return true;
}

bool TreeRun::DrawNode(Worker& worker, int index, std::string& error)
{
    const DemoTileNode& node = m_tree.GetNodes()[static_cast<size_t>(index)];
    NodeState& state = m_nodes[static_cast<size_t>(index)];
    const std::array<double, 4> rect = m_tree.GetRect(node);
    // What this node hands to its parent: its most prominent features, a quarter of a tile
    const size_t handUp = node.parent >= 0 ? m_capacity / 4 : 0;
    std::vector<Candidate> keep;
    // Largest feature below this node that it does not show itself
    const double missing = state.dropped;
    double dropped = state.dropped;
    auto settle = [&](std::vector<Candidate>& drawn) {
        for (Candidate& c : drawn) keep.push_back(std::move(c));
        drawn.clear();
        std::sort(keep.begin(), keep.end(), Prominent);
        if (keep.size() > handUp) {
            dropped = std::max(dropped, keep[handUp].size);
            keep.resize(handUp);
        }
    };
    if (node.IsLeaf()) {
        worker.stream.ResetInside(rect[0] - kQueryMargin, rect[1] - kQueryMargin, rect[2] + kQueryMargin,
                                  rect[3] + kQueryMargin);
        std::vector<Candidate> chunk;
        std::uint64_t found = 0;
        Candidate c;
        auto flush = [&]() {
            std::vector<Candidate*> batch;
            for (Candidate& x : chunk) batch.push_back(&x);
            if (!WriteContent(worker, node, batch, state, error)) return false;
            m_featuresDone.fetch_add(chunk.size(), std::memory_order_relaxed);
            settle(chunk);
            return true;
        };
        while (worker.stream.Next(c.feature, c.fid)) {
            if (g_signal.load() != 0) {
                error = "interrupted";
                return false;
            }
            if (!c.feature.hasAnchor || !m_tree.Contains(node, c.feature.anchor.x, c.feature.anchor.y)) continue;
            ++found;
            c.size = FeatureSize(c.feature);
            chunk.push_back(std::move(c));
            c = Candidate();
            if (chunk.size() >= m_capacity && !flush()) return false;
        }
        if (!chunk.empty() && !flush()) return false;
        if (found != node.count) {
            error = "the tile " + DemoTileTree::Name(node) + " should hold " + std::to_string(node.count) +
                    " features but the layer gave " + std::to_string(found) + " for its place (did it change?)";
            return false;
        }
        state.record.geometricError = 0.0;
    } else {
        // A coarser tile: the most prominent features of its children, simplified
        static thread_local GeosHandle geos;
        const double side = SideMetres(rect);
        const double tolerance = (rect[2] - rect[0] + rect[3] - rect[1]) * 0.5 * kSimplifyPerSide;
        std::vector<Candidate> drawn = std::move(state.promoted);
        std::vector<Candidate> simplified;
        std::vector<Candidate*> batch;
        for (Candidate& x : drawn) {
            Candidate s;
            s.fid = x.fid, s.size = x.size;
            s.feature.geometryType = x.feature.geometryType;
            s.feature.parts = x.feature.parts;
            s.feature.anchor = x.feature.anchor;
            s.feature.hasAnchor = x.feature.hasAnchor;
            s.feature.feature = std::move(x.feature.feature);
            Simplify(geos.h, s.feature, tolerance);
            simplified.push_back(std::move(s));
        }
        for (Candidate& x : simplified) batch.push_back(&x);
        if (!WriteContent(worker, node, batch, state, error)) return false;
        // The parent gets the full geometry back, to simplify at its own scale
        for (size_t i = 0; i < drawn.size(); ++i) drawn[i].feature.feature = std::move(simplified[i].feature.feature);
        settle(drawn);
        state.record.geometricError = std::max(missing, side * kErrorPerSide);
        for (int child : node.children) {
            const NodeState& c = m_nodes[static_cast<size_t>(child)];
            state.record.geometricError = std::max(state.record.geometricError, c.record.geometricError);
            if (!c.record.hasRegion) continue;
            if (state.record.hasRegion) DemoTileset::Extend(state.record.region, c.record.region);
            else state.record.region = c.record.region, state.record.hasRegion = true;
        }
    }
    if (!state.record.hasRegion) {
        state.record.region = DemoTileset::RectRegion(rect);
        state.record.hasRegion = true;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_done;
    if (node.parent >= 0) {
        NodeState& parent = m_nodes[static_cast<size_t>(node.parent)];
        for (Candidate& x : keep) parent.promoted.push_back(std::move(x));
        parent.dropped = std::max(parent.dropped, dropped);
        if (--parent.childrenLeft == 0) m_ready.push_back(node.parent);
    }
    m_changed.notify_all();
    return true;
}

void RemoveAll(const std::vector<std::string>& files, const std::string& tilesDir)
{
    for (const std::string& f : files) std::remove(f.c_str());
    rmdir(tilesDir.c_str());
}

int TileRun(const DemoOptions& options, const DemoRun& run, const DemoLayer& sampleLayer, const DemoTileTree& tree,
            KrTheme3DFactory& factory, int threads, Clock::time_point programStart, DemoJson& themes)
{
    std::string error;
    auto started = Clock::now();
    std::unique_ptr<KrTheme3D> master;
    const DemoThemeCreator create = [&factory](int kind) { return factory.NewTheme3D(kind); };
    if (!DemoThemeBuilder::Build(run.request, sampleLayer, create, master, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    const std::string name = run.name.empty() ? DemoThemeBuilder::KindName(master->GetType()) : run.name;
    // Every thread draws with a theme of its own, cloned through the factory and prepared for
    // the layer (chart extremes, query fields) from the same sample
    std::vector<Worker> workers(static_cast<size_t>(threads));
    for (Worker& w : workers) {
        w.theme.reset(factory.CloneTheme3D(master.get()));
        if (!w.theme) {
            std::fprintf(stderr, "t3d_demo: the factory could not clone the %s theme\n", name.c_str());
            return 2;
        }
        w.drawer = std::make_unique<DemoDrawer>(*w.theme, sampleLayer);
        if (!w.drawer->Prepare(error) || !w.stream.Open(options.dataPath, options.layerName, error)) {
            std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
            return 2;
        }
    }
    const std::string dir = options.outDir + "/" + name;
    const std::string tilesDir = dir + "/tiles";
    const std::string tilesetPath = dir + "/tileset.json";
    // An earlier tileset goes first, so that no document ever names tiles this run replaces
    if ((std::remove(tilesetPath.c_str()) != 0 && errno != ENOENT) || !MakeDirectory(tilesDir, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.empty() ? ("cannot replace '" + tilesetPath + "'").c_str() : error.c_str());
        return 3;
    }
    RemoveTiles(tilesDir);
    const bool labels = master->GetType() == KrTheme3D::Theme3DLabel;
    TreeRun drawing(options, run, tree, dir, labels, programStart);
    const bool drawn = drawing.Draw(workers, error);
    const double drawMs = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
    std::string document;
    if (drawn) {
        document = DemoTileset::Json(tree, drawing.Records());
        const BSX::BsxUnicodeString xml = master->ToXML(DemoThemeBuilder::kXmlVersion, BSX::BsxUnicodeString::FromUtf8(dir));
        const std::string xmlText = xml.ToUtf8() + "\n";
        if (!DemoTileset::WriteAtomically(dir + "/theme.xml", xmlText.data(), xmlText.size(), false, error) ||
            !DemoTileset::WriteAtomically(tilesetPath, document.data(), document.size(), true, error)) {
            RemoveAll(drawing.Written(), tilesDir);
            std::fprintf(stderr, "t3d_demo: %s; the tiles written were removed\n", error.c_str());
            return 3;
        }
    } else {
        RemoveAll(drawing.Written(), tilesDir);
        if (g_signal.load() != 0) {
            std::fprintf(stderr, "t3d_demo: interrupted; the tiles written were removed and no tileset was written\n");
            return 130;
        }
        std::fprintf(stderr, "t3d_demo: %s; the tiles written were removed and no tileset was written\n", error.c_str());
        return 3;
    }
    const double seconds = drawMs / 1000.0;
    std::printf("%-8s %-7s %llu features in %zu tiles (depth %d), %zu files, %.1f MB; %d threads, %.0f features/s,"
                " first tile after %.0f ms, %.1f s in all\n",
                name.c_str(), DemoThemeBuilder::KindName(master->GetType()),
                static_cast<unsigned long long>(tree.GetTotal()), tree.GetNodes().size(), tree.GetDepth(),
                drawing.Written().size(), static_cast<double>(drawing.Bytes() + document.size()) / 1e6, threads,
                seconds > 0 ? static_cast<double>(tree.GetTotal()) / seconds : 0.0, drawing.FirstTileMs(), seconds);
    std::printf("         tileset: %s\n", tilesetPath.c_str());
    themes.BeginObject().Key("name").String(name).Key("kind").String(DemoThemeBuilder::KindName(master->GetType()));
    themes.Key("tileset").String(name + "/tileset.json").Key("xml").String(name + "/theme.xml");
    themes.Key("heightScale").Number(run.heightScale).Key("tiles").Integer(static_cast<long long>(tree.GetNodes().size()));
    themes.Key("depth").Integer(tree.GetDepth());
    const std::array<double, 4> extent = tree.GetExtent();
    themes.Key("extent").BeginObject().Key("west").Number(extent[0]).Key("south").Number(extent[1]);
    themes.Key("east").Number(extent[2]).Key("north").Number(extent[3]).EndObject().EndObject();
    return 0;
}

} // namespace

int DemoTiler::Run(const DemoOptions& options, KrTheme3DFactory& factory)
{
    const int threads = options.threads > 0 ? options.threads : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    SignalGuard guard;
    auto started = Clock::now();
    Scan scan;
    DemoLayer sampleLayer;
    std::string error;
    // Range themes classify from statistics of every feature, gathered while scanning
    std::vector<FieldStatistics> fields;
    std::vector<int> fieldOfRun;
    for (const DemoRun& run : options.runs) {
        const bool ranged = run.request.kind == KrTheme3D::Theme3DRange && !run.request.field.empty();
        fieldOfRun.push_back(ranged ? static_cast<int>(fields.size()) : -1);
        if (ranged) {
            fields.emplace_back();
            fields.back().field = BSX::BsxUnicodeString::FromUtf8(run.request.field);
        }
    }
    if (!ScanLayer(options, threads, scan, sampleLayer, fields, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    if (g_signal.load() != 0) {
        std::fprintf(stderr, "t3d_demo: interrupted before any tile was written\n");
        return 130;
    }
    scan.tree.Build(static_cast<std::uint64_t>(options.tileFeatures));
    const double scanMs = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
    std::printf("layer %s: %llu features (%llu without a place, not tiled), scanned in %.1f ms; %zu sampled for the"
                " themes\n",
                sampleLayer.name.c_str(), static_cast<unsigned long long>(scan.features),
                static_cast<unsigned long long>(scan.unanchored), scanMs, sampleLayer.features.size());
    if (!MakeDirectory(options.outDir, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 3;
    }
    // The manifest names every tileset, so that a viewer needs nothing but the output folder
    DemoJson manifest;
    const std::array<double, 4> extent = scan.tree.GetExtent();
    manifest.BeginObject().Key("layer").BeginObject().Key("name").String(sampleLayer.name);
    manifest.Key("features").Integer(static_cast<long long>(scan.features)).Key("extent").BeginObject();
    manifest.Key("west").Number(extent[0]).Key("south").Number(extent[1]).Key("east").Number(extent[2]);
    manifest.Key("north").Number(extent[3]).EndObject().EndObject().Key("themes").BeginArray();
    for (size_t i = 0; i < options.runs.size(); ++i) {
        DemoRun run = options.runs[i];
        if (fieldOfRun[i] >= 0) {
            const FieldStatistics& f = fields[static_cast<size_t>(fieldOfRun[i])];
            run.request.statistics = std::make_shared<KrClassStatistics>(f.statistics);
            // Quantile breaks as the layer's sorted values would give them: the value at rank
            // k/n for each class k after the first, a run of equal values in one class
            const std::int64_t n = std::min<std::int64_t>(run.request.classes, f.sketch.GetCount());
            for (std::int64_t k = 1; k < n; ++k) {
                const double b = f.sketch.GetQuantile(static_cast<double>(k) / static_cast<double>(n));
                if (run.request.quantileBreaks.empty() || run.request.quantileBreaks.back() != b)
                    run.request.quantileBreaks.push_back(b);
            }
        }
        const int result = TileRun(options, run, sampleLayer, scan.tree, factory, threads, started, manifest);
        if (result != 0) return result;
    }
    manifest.EndArray().EndObject();
    const std::string text = manifest.Text() + "\n";
    if (!DemoTileset::WriteAtomically(options.outDir + "/scene.json", text.data(), text.size(), false, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 3;
    }
    return 0;
}

} // namespace KRN
