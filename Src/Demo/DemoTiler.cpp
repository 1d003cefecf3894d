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
#include "DemoLegend.h"
#include "DemoLayerSummary.h"
#include "DemoOutput.h"
#include "DemoProgress.h"
#include "DemoPreparedLayer.h"
#include "DemoSample.h"
#include "DemoScene.h"
#include "DemoThemeBuilder.h"
#include "DemoTileDrawer.h"
#include "DemoTileTree.h"
#include "DemoTileset.h"
#include "KrClassStatistics.h"
#include "KrQuantileSketch.h"
#include "KrTheme3DGraph.h"

namespace KRN {

namespace {

using Clock = std::chrono::steady_clock;


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
        if (name[0] == '.' || ends(name, ".glb") || ends(name, ".labels.json") ||
            ends(name, ".features.json")) doomed.push_back(name);
    }
    closedir(d);
    for (const std::string& name : doomed) std::remove((dir + "/" + name).c_str());
}

// Reads what the stream gives: every feature into the summary, and those of smallest hash
// (attributes and anchor only) into the sample when one is asked for
bool ScanPart(DemoLayerStream& stream, DemoLayerSummary& summary, DemoSample* sample, std::atomic<std::uint64_t>* read)
{
    DemoFeature f;
    long long fid = 0;
    while (stream.Next(f, fid)) {
        if (g_signal.load() != 0) return false;
        if (read) read->fetch_add(1, std::memory_order_relaxed);
        summary.Add(f);
        if (sample && f.hasAnchor) sample->Offer(fid, f);
    }
    return true;
}

// Reads one span of identifiers; the last one is open, so that sparse or shifted identifiers
// are still all read
bool ScanSpan(DemoLayerStream& stream, long long span, long long spans, DemoLayerSummary& summary,
              DemoSample* sample, std::atomic<std::uint64_t>* read)
{
    if (spans <= 1) stream.Reset();
    else stream.ResetSpan(span * DemoTiler::kScanSpan, span == spans - 1 ? (1LL << 62) : (span + 1) * DemoTiler::kScanSpan);
    const bool done = ScanPart(stream, summary, sample, read);
    summary.AddSkipped(stream.GetSkipped());
    return done;
}

// What the scan learns about the whole layer
struct Scan {
    DemoLayerSummary summary;
    DemoTileTree tree;
};

// Reads the whole layer once, in spans of identifiers that threads take in turn where the
// source can select them. Each span is summarised on its own and the summaries merge in span
// order, so that the result is the same whatever the number of threads. Beside it a seeded
// sample of attribute records serves what needs features at hand (the drawers' layer).
bool ScanLayer(const DemoOptions& options, int threads, DemoSummaryPlan plan, Scan& scan, DemoLayer& sampleLayer,
               std::string& error)
{
    DemoLayerStream first;
    if (!first.Open(options.dataPath, options.layerName, options.read, error)) return false;
    double west = 0, south = 0, east = 0, north = 0;
    if (!first.GetExtent(west, south, east, north)) {
        error = "the layer '" + first.GetName() + "' has no extent to tile";
        return false;
    }
    plan.extent = {west, south, east, north};
    scan.summary = DemoLayerSummary(plan);
    sampleLayer.name = first.GetName();
    sampleLayer.fields = first.GetFields();
    sampleLayer.bounds = BSX::BsxRect2D(west, north, east, south);
    const long long count = first.CountHint();
    const long long spans = DemoTiler::SpanCount(first);
    const int parts = static_cast<int>(std::min<long long>(std::max(1, threads), spans));
    DemoSample sample;
    std::vector<std::string> errors(static_cast<size_t>(parts));
    std::atomic<std::uint64_t> read{0};
    std::atomic<long long> nextSpan{0};
    std::mutex merging;
    std::vector<std::unique_ptr<DemoLayerSummary>> finished(static_cast<size_t>(spans));
    long long merged = 0;
    auto work = [&](int k) {
        DemoLayerStream own;
        DemoLayerStream& stream = k == 0 ? first : own;
        if (k > 0 && !own.Open(options.dataPath, options.layerName, options.read, errors[static_cast<size_t>(k)])) return;
        for (long long span = nextSpan++; span < spans && g_signal.load() == 0; span = nextSpan++) {
            auto part = std::make_unique<DemoLayerSummary>(plan);
            if (!ScanSpan(stream, span, spans, *part, &sample, &read)) return;
            if (!stream.GetError().empty()) {
                errors[static_cast<size_t>(k)] = stream.GetError();
                // The other threads stop at their next span
                nextSpan.store(spans);
                return;
            }
            // Spans merge in their order as soon as the ones before them are done
            std::lock_guard<std::mutex> lock(merging);
            finished[static_cast<size_t>(span)] = std::move(part);
            for (; merged < spans && finished[static_cast<size_t>(merged)]; ++merged) {
                scan.summary.Merge(*finished[static_cast<size_t>(merged)]);
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
    scan.summary.CountInto(scan.tree);
    sampleLayer.features = sample.TakeSorted();
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

int TileRun(const DemoOptions& options, const DemoRun& run, const DemoTiler::RunNeeds& needs, const Scan& scan,
            const DemoLayer& sampleLayer, KrTheme3DFactory& factory, int threads, Clock::time_point programStart,
            DemoJson& themes)
{
    const DemoTileTree& tree = scan.tree;
    std::string error;
    auto started = Clock::now();
    std::unique_ptr<KrTheme3D> master;
    const DemoThemeCreator create = [&factory](int kind) { return factory.NewTheme3D(kind); };
    DemoBuildReport report;
    if (!DemoThemeBuilder::Build(run.request, sampleLayer, create, master, error, &report)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    if (report.distinctValues > report.classes || !report.allValuesCounted) {
        std::fprintf(stderr,
                     "t3d_demo: warning: '%s' has %s%d distinct values; the %d most frequent have classes, the others"
                     " are drawn as \"Other values\" (--max-classes raises the limit)\n",
                     run.request.field.c_str(), report.allValuesCounted ? "" : "more than ", report.distinctValues,
                     report.classes);
    }
    const std::string name = run.name.empty() ? DemoThemeBuilder::KindName(master->GetType()) : run.name;
    const std::string dir = options.outDir + "/" + name;
    const bool labels = master->GetType() == KrTheme3D::Theme3DLabel;
    TreeRun drawing(options, run, tree, dir, labels, programStart);
    // Every thread draws with a theme of its own, cloned through the factory and prepared for
    // the whole layer (chart extremes, geometry kinds) from its summary
    std::vector<std::unique_ptr<DemoTileDrawer>> drawers;
    for (int k = 0; k < threads; ++k) {
        std::unique_ptr<KrTheme3D> clone(factory.CloneTheme3D(master.get()));
        if (!clone) {
            std::fprintf(stderr, "t3d_demo: the factory could not clone the %s theme\n", name.c_str());
            return 2;
        }
        DemoTileSettings settings = drawing.Settings();
        settings.chartScale = run.chartScale;
        if (needs.chart >= 0)
            settings.chartTotals = std::make_shared<DemoChartTotals>(scan.summary.GetChartTotals(static_cast<size_t>(needs.chart)));
        settings.geometryKinds = scan.summary.GetGeometryKinds();
        settings.read = options.read;
        // Features are named by the chosen field, else by a "name" field when the layer has one
        if (options.idFieldGiven || sampleLayer.FindField("name") >= 0)
            settings.idField = options.idFieldGiven ? options.idField : "name";
        drawers.push_back(std::make_unique<DemoTileDrawer>(tree, std::move(settings)));
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
        // The legend tells of the theme as the threads drew with it, prepared for the layer
        const KrTheme3D& prepared = drawers.front()->GetTheme();
        const BSX::BsxUnicodeString xml = master->ToXML(DemoThemeBuilder::kXmlVersion, BSX::BsxUnicodeString::FromUtf8(dir));
        const std::string xmlText = xml.ToUtf8() + "\n";
        // Each feature counts once in the legend: where a leaf drew it
        std::vector<size_t> counts;
        size_t drawnFeatures = 0;
        for (const auto& d : drawers) {
            counts.resize(std::max(counts.size(), d->GetLeafCounts().size()), 0);
            for (size_t k = 0; k < d->GetLeafCounts().size(); ++k) counts[k] += d->GetLeafCounts()[k];
            drawnFeatures += d->GetLeafDrawn();
        }
        DemoRun named = run;
        named.name = name;
        const std::string legend = DemoLegend::Json(named, prepared, drawers.front()->GetDrawer(),
                                                    static_cast<size_t>(tree.GetTotal()), drawnFeatures, report, &counts);
        if (!DemoTileset::WriteAtomically(dir + "/theme.xml", xmlText.data(), xmlText.size(), false, error) ||
            !DemoTileset::WriteAtomically(options.outDir + "/" + name + ".legend.json", legend.data(), legend.size(), false,
                                          error) ||
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
    // Each content's feature records lie beside it, under its name with this ending for ".glb"
    themes.Key("legend").String(name + ".legend.json").Key("tileFeatures").String(".features.json");
    themes.Key("heightScale").Number(run.heightScale).Key("tiles").Integer(static_cast<long long>(tree.GetNodes().size()));
    themes.Key("depth").Integer(tree.GetDepth());
    const std::array<double, 4> extent = tree.GetExtent();
    themes.Key("extent").BeginObject().Key("west").Number(extent[0]).Key("south").Number(extent[1]);
    themes.Key("east").Number(extent[2]).Key("north").Number(extent[3]).EndObject().EndObject();
    return 0;
}

} // namespace

DemoSummaryPlan DemoTiler::Plan(const DemoOptions& options, KrTheme3DFactory& factory, std::vector<RunNeeds>& needs)
{
    DemoSummaryPlan plan;
    needs.clear();
    for (const DemoRun& run : options.runs) {
        const DemoThemeRequest& r = run.request;
        RunNeeds n;
        std::vector<std::string> series = r.chartFields;
        if (r.kind == KrTheme3D::Theme3DNone) {
            // A saved chart names its series in its document; a document that cannot be read
            // fails later with its reason
            std::unique_ptr<KrTheme3D> saved;
            std::string ignored;
            const DemoThemeCreator create = [&factory](int kind) { return factory.NewTheme3D(kind); };
            if (DemoThemeBuilder::Build(r, DemoLayer(), create, saved, ignored) &&
                saved->GetType() == KrTheme3D::Theme3DGraph) {
                const auto& graph = static_cast<const KrTheme3DGraph&>(*saved);
                for (int i = 0; i < graph.GetCount(); ++i) series.push_back(graph.GetExpressionAt(i).ToUtf8());
                n.chart = static_cast<int>(plan.charts.size());
                plan.charts.push_back(series);
            }
        } else if (r.kind == KrTheme3D::Theme3DRange && !r.field.empty()) {
            n.numeric = static_cast<int>(plan.numericFields.size());
            plan.numericFields.push_back(r.field);
        } else if (r.kind == KrTheme3D::Theme3DUnique && !r.field.empty()) {
            n.values = static_cast<int>(plan.valueFields.size());
            plan.valueFields.push_back(r.field);
            // Enough values counted that the most frequent ones keep their class and count
            plan.valueLimit = std::max<std::uint64_t>(plan.valueLimit, 16ull * static_cast<unsigned>(std::max(1, r.maxClasses)));
        } else if (r.kind == KrTheme3D::Theme3DGraph) {
            n.chart = static_cast<int>(plan.charts.size());
            plan.charts.push_back(series);
        }
        needs.push_back(n);
    }
    return plan;
}

long long DemoTiler::SpanCount(DemoLayerStream& stream)
{
    const long long count = stream.CountHint();
    return count > 0 && stream.ResetSpan(0, 1) ? count / kScanSpan + 1 : 1;
}

bool DemoTiler::SummariseSpan(DemoLayerStream& stream, long long span, long long spans, DemoLayerSummary& summary)
{
    return ScanSpan(stream, span, spans, summary, nullptr, nullptr) && stream.GetError().empty();
}

DemoRun DemoTiler::Complete(const DemoRun& original, const RunNeeds& needs, const DemoLayerSummary& summary)
{
    DemoRun run = original;
    if (needs.numeric >= 0) {
        const KrQuantileSketch& sketch = summary.GetSketch(static_cast<size_t>(needs.numeric));
        run.request.statistics = std::make_shared<KrClassStatistics>(summary.GetStatistics(static_cast<size_t>(needs.numeric)));
        // Quantile breaks as the layer's sorted values would give them: the value at rank
        // k/n for each class k after the first, a run of equal values in one class
        const std::int64_t n = std::min<std::int64_t>(run.request.classes, sketch.GetCount());
        for (std::int64_t k = 1; k < n; ++k) {
            const double b = sketch.GetQuantile(static_cast<double>(k) / static_cast<double>(n));
            if (run.request.quantileBreaks.empty() || run.request.quantileBreaks.back() != b)
                run.request.quantileBreaks.push_back(b);
        }
    }
    if (needs.values >= 0)
        run.request.values = std::make_shared<DemoValueCounts>(summary.GetValues(static_cast<size_t>(needs.values)));
    return run;
}

int DemoTiler::Run(const DemoOptions& options, KrTheme3DFactory& factory)
{
    const int threads = options.threads > 0 ? options.threads : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    SignalGuard guard;
    auto started = Clock::now();
    Scan scan;
    DemoLayer sampleLayer;
    std::string error;
    // Themes classify from the whole layer, summarised while scanning
    std::vector<RunNeeds> needs;
    const DemoSummaryPlan plan = Plan(options, factory, needs);
    if (!ScanLayer(options, threads, plan, scan, sampleLayer, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    if (g_signal.load() != 0) {
        std::fprintf(stderr, "t3d_demo: interrupted before any tile was written\n");
        return 130;
    }
    scan.tree.Build(static_cast<std::uint64_t>(options.tileFeatures));
    const double scanMs = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
    std::printf("layer %s: %llu features (%llu without a place, not tiled), scanned in %.1f ms\n",
                sampleLayer.name.c_str(), static_cast<unsigned long long>(scan.summary.GetFeatures()),
                static_cast<unsigned long long>(scan.summary.GetUnanchored()), scanMs);
    if (scan.summary.GetSkipped() > 0)
        std::printf("skipped %llu features that could not be read (--lenient)\n",
                    static_cast<unsigned long long>(scan.summary.GetSkipped()));
    if (!MakeDirectory(options.outDir, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 3;
    }
    // The manifest names every tileset, so that a viewer needs nothing but the output folder
    DemoJson manifest;
    const std::array<double, 4> extent = scan.tree.GetExtent();
    manifest.BeginObject().Key("layer").BeginObject().Key("name").String(sampleLayer.name);
    manifest.Key("features").Integer(static_cast<long long>(scan.summary.GetFeatures())).Key("extent").BeginObject();
    manifest.Key("west").Number(extent[0]).Key("south").Number(extent[1]).Key("east").Number(extent[2]);
    manifest.Key("north").Number(extent[3]).EndObject().EndObject().Key("themes").BeginArray();
    for (size_t i = 0; i < options.runs.size(); ++i) {
        const DemoRun run = Complete(options.runs[i], needs[i], scan.summary);
        const int result = TileRun(options, run, needs[i], scan, sampleLayer, factory, threads, started, manifest);
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
