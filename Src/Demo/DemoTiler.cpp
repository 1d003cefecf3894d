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

#include "DemoDrawer.h"
#include "DemoGlbWriter.h"
#include "DemoJson.h"
#include "DemoLayerStream.h"
#include "DemoOutput.h"
#include "DemoProgress.h"
#include "DemoPreparedLayer.h"
#include "DemoScene.h"
#include "DemoThemeBuilder.h"
#include "DemoTileDrawer.h"
#include "DemoTileTree.h"
#include "DemoTileset.h"
#include "KrClassStatistics.h"
#include "KrQuantileSketch.h"

namespace KRN {

namespace {

using Clock = std::chrono::steady_clock;

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

// A feature on its way through the scan's sample
using Candidate = DemoTileCandidate;

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
    // What finished children gave it
    DemoNodeInput input;
    size_t childrenLeft = 0;
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

    // Settings of a drawer of this run (one per thread)
    DemoTileSettings Settings();
    // Draws every node with the threads' drawers; false with a message on failure or interrupt
    bool Draw(std::vector<std::unique_ptr<DemoTileDrawer>>& drawers, std::string& error);
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
    void Loop(DemoTileDrawer& drawer);
    bool DrawNode(DemoTileDrawer& drawer, int index, std::string& error);
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

DemoTileSettings TreeRun::Settings()
{
    DemoTileSettings settings;
    settings.dir = m_dir;
    settings.capacity = m_capacity;
    settings.heightScale = m_run.heightScale;
    settings.labels = m_labels;
    settings.written = [this](const std::string& path, std::uint64_t bytes) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_written.push_back(path);
        m_bytes += bytes;
        if (m_firstTileMs < 0) m_firstTileMs = std::chrono::duration<double, std::milli>(Clock::now() - m_started).count();
    };
    settings.stop = [] { return g_signal.load() != 0; };
    return settings;
}

void TreeRun::Loop(DemoTileDrawer& drawer)
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
        if (!DrawNode(drawer, index, error)) {
            Fail(error);
            return;
        }
    }
}

bool TreeRun::Draw(std::vector<std::unique_ptr<DemoTileDrawer>>& drawers, std::string& error)
{
    if (m_nodes.empty()) return true;
    std::vector<std::thread> pool;
    for (auto& d : drawers) pool.emplace_back([this, &d] { Loop(*d); });
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

bool TreeRun::DrawNode(DemoTileDrawer& drawer, int index, std::string& error)
{
    const DemoTileNode& node = m_tree.GetNodes()[static_cast<size_t>(index)];
    NodeState& state = m_nodes[static_cast<size_t>(index)];
    for (int child : node.children) state.input.children.push_back(m_nodes[static_cast<size_t>(child)].record);
    DemoNodeOutput out;
    if (!drawer.Draw(index, state.input, out, error)) return false;
    m_featuresDone.fetch_add(out.features, std::memory_order_relaxed);
    std::lock_guard<std::mutex> lock(m_mutex);
    state.record = std::move(out.record);
    state.input = DemoNodeInput();
    ++m_done;
    if (node.parent >= 0) {
        NodeState& parent = m_nodes[static_cast<size_t>(node.parent)];
        for (DemoTileCandidate& x : out.handUp) parent.input.promoted.push_back(std::move(x));
        parent.input.dropped = std::max(parent.input.dropped, out.dropped);
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
    const std::string dir = options.outDir + "/" + name;
    const bool labels = master->GetType() == KrTheme3D::Theme3DLabel;
    TreeRun drawing(options, run, tree, dir, labels, programStart);
    // Every thread draws with a theme of its own, cloned through the factory and prepared for
    // the layer (chart extremes, query fields) from the same sample
    std::vector<std::unique_ptr<DemoTileDrawer>> drawers;
    for (int k = 0; k < threads; ++k) {
        std::unique_ptr<KrTheme3D> clone(factory.CloneTheme3D(master.get()));
        if (!clone) {
            std::fprintf(stderr, "t3d_demo: the factory could not clone the %s theme\n", name.c_str());
            return 2;
        }
        drawers.push_back(std::make_unique<DemoTileDrawer>(tree, drawing.Settings()));
        if (!drawers.back()->Open(std::move(clone), sampleLayer, options.dataPath, options.layerName, error)) {
            std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
            return 2;
        }
    }
    const std::string tilesDir = dir + "/tiles";
    const std::string tilesetPath = dir + "/tileset.json";
    // An earlier tileset goes first, so that no document ever names tiles this run replaces
    if ((std::remove(tilesetPath.c_str()) != 0 && errno != ENOENT) || !MakeDirectory(tilesDir, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.empty() ? ("cannot replace '" + tilesetPath + "'").c_str() : error.c_str());
        return 3;
    }
    RemoveTiles(tilesDir);
    const bool drawn = drawing.Draw(drawers, error);
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
