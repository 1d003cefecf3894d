#include "DemoTileJob.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "DemoLayerStream.h"
#include "DemoSample.h"
#include "DemoThemeBuilder.h"
#include "DemoTileset.h"
#include "DemoVarint.h"

namespace KRN {

namespace {

// Steps hand each other plain bytes (numbers in the machine's own order: the processes of one
// job run the same build)
class Writer {
public:
    template <typename T> Writer& Put(T value)
    {
        static_assert(std::is_arithmetic<T>::value, "numbers only");
        m_bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
        return *this;
    }
    Writer& Text(const std::string& text)
    {
        Put<std::uint64_t>(text.size());
        m_bytes += text;
        return *this;
    }
    std::string& Bytes() { return m_bytes; }

private:
    std::string m_bytes;
};

class Reader {
public:
    explicit Reader(const std::string& bytes) : m_bytes(bytes) {}
    template <typename T> bool Get(T& value)
    {
        if (m_bytes.size() - m_at < sizeof value) return false;
        std::memcpy(&value, m_bytes.data() + m_at, sizeof value);
        m_at += sizeof value;
        return true;
    }
    bool Text(std::string& text)
    {
        std::uint64_t n = 0;
        if (!Get(n) || n > m_bytes.size() - m_at) return false;
        text.assign(m_bytes, m_at, static_cast<size_t>(n));
        m_at += static_cast<size_t>(n);
        return true;
    }
    bool Varint(std::uint64_t& v) { return ReadVarint(m_bytes, m_at, v); }
    bool Done() const { return m_at == m_bytes.size(); }

private:
    const std::string& m_bytes;
    size_t m_at = 0;
};

// The sample's identifiers alone, by hash: what a span hands the merge
using Sampled = std::pair<std::uint64_t, long long>;

// Keeps the sample's size of smallest hashes
void Cut(std::vector<Sampled>& sample)
{
    if (sample.size() <= DemoSample::kSize) return;
    std::nth_element(sample.begin(), sample.begin() + DemoSample::kSize, sample.end());
    sample.resize(DemoSample::kSize);
}

// Adds an identifier; the list is cut once it holds twice the sample's size (a selection now and
// then is cheaper than a heap's reordering at every one)
void Offer(std::vector<Sampled>& sample, long long fid)
{
    sample.emplace_back(DemoSample::Hash(fid), fid);
    if (sample.size() >= 2 * DemoSample::kSize) Cut(sample);
}

// The sample's identifiers go in increasing order, each as its distance from the one before (the
// first from the smallest identifier there is): a span's are nearly consecutive, and a byte each
std::string Pack(const std::string& summary, std::vector<Sampled>& sample)
{
    Cut(sample);
    Writer w;
    w.Text(summary).Put<std::uint64_t>(sample.size());
    std::vector<long long> fids;
    fids.reserve(sample.size());
    for (const Sampled& s : sample) fids.push_back(s.second);
    std::sort(fids.begin(), fids.end());
    std::uint64_t last = static_cast<std::uint64_t>(std::numeric_limits<long long>::min());
    for (long long fid : fids) {
        AppendVarint(w.Bytes(), static_cast<std::uint64_t>(fid) - last);
        last = static_cast<std::uint64_t>(fid);
    }
    return std::move(w.Bytes());
}

bool Unpack(const std::string& bytes, std::string& summary, std::vector<long long>& fids)
{
    Reader r(bytes);
    std::uint64_t n = 0;
    if (!r.Text(summary) || !r.Get(n) || n > DemoSample::kSize) return false;
    fids.resize(static_cast<size_t>(n));
    std::uint64_t last = static_cast<std::uint64_t>(std::numeric_limits<long long>::min());
    for (long long& fid : fids) {
        std::uint64_t step = 0;
        if (!r.Varint(step)) return false;
        last += step;
        fid = static_cast<long long>(last);
    }
    return r.Done();
}

struct NodeResult {
    DemoTileRecord record;
    double dropped = 0.0;
    std::vector<long long> handUp;
};

std::string PackNode(const DemoNodeOutput& out)
{
    Writer w;
    w.Put<std::uint8_t>(out.record.hasRegion ? 1 : 0);
    for (double v : out.record.region) w.Put(v);
    w.Put(out.record.geometricError).Put<std::uint64_t>(out.record.contents.size());
    for (const std::string& c : out.record.contents) w.Text(c);
    w.Put(out.dropped).Put<std::uint64_t>(out.handUp.size());
    for (const DemoTileCandidate& c : out.handUp) w.Put(c.fid);
    return std::move(w.Bytes());
}

bool UnpackNode(const std::string& bytes, NodeResult& node)
{
    Reader r(bytes);
    std::uint8_t hasRegion = 0;
    std::uint64_t n = 0;
    if (!r.Get(hasRegion)) return false;
    node.record.hasRegion = hasRegion != 0;
    for (double& v : node.record.region) {
        if (!r.Get(v)) return false;
    }
    if (!r.Get(node.record.geometricError) || !r.Get(n) || n > bytes.size()) return false;
    node.record.contents.resize(static_cast<size_t>(n));
    for (std::string& c : node.record.contents) {
        if (!r.Text(c)) return false;
    }
    if (!r.Get(node.dropped) || !r.Get(n) || n > bytes.size()) return false;
    node.handUp.resize(static_cast<size_t>(n));
    for (long long& fid : node.handUp) {
        if (!r.Get(fid)) return false;
    }
    return r.Done();
}

} // namespace

bool DemoTileJob::Parse(const std::vector<std::string>& args, KrTheme3DFactory& factory, std::string& error)
{
    std::vector<const char*> argv{"t3d_demo", "--tiles"};
    for (const std::string& a : args) argv.push_back(a.c_str());
    m_options = DemoOptions();
    if (!m_options.Parse(static_cast<int>(argv.size()), argv.data(), error)) return false;
    if (m_options.runs.size() != 1 || m_options.dataPath.empty()) {
        error = "a tiling job draws one theme (--range, --unique, ... or --theme) of one layer (--data)";
        return false;
    }
    m_factory = &factory;
    m_run = m_options.runs.front();
    m_planned = false;
    return true;
}

bool DemoTileJob::Planned(std::string& error)
{
    if (m_planned) return true;
    if (!m_factory) {
        error = "the job has no options";
        return false;
    }
    DemoLayerStream stream;
    if (!stream.Open(m_options.dataPath, m_options.layerName, m_options.read, error)) return false;
    double west = 0, south = 0, east = 0, north = 0;
    if (!stream.GetExtent(west, south, east, north)) {
        error = "the layer '" + stream.GetName() + "' has no extent to tile";
        return false;
    }
    m_plan = DemoTiler::Plan(m_options, *m_factory, m_needs);
    m_plan.extent = {west, south, east, north};
    m_sample = DemoLayer();
    m_sample.name = stream.GetName();
    m_sample.fields = stream.GetFields();
    m_sample.bounds = BSX::BsxRect2D(west, north, east, south);
    m_planned = true;
    return true;
}

bool DemoTileJob::CountSpans(long long& spans, std::string& error)
{
    DemoLayerStream stream;
    if (!stream.Open(m_options.dataPath, m_options.layerName, m_options.read, error)) return false;
    spans = DemoTiler::SpanCount(stream);
    return true;
}

bool DemoTileJob::SummariseSpan(long long span, long long spans, std::string& bytes, std::string& error, DemoSample* keep)
{
    if (!Planned(error)) return false;
    DemoLayerStream stream;
    if (!stream.Open(m_options.dataPath, m_options.layerName, m_options.read, error)) return false;
    // The tiler's scan of a span, with the identifiers of the anchored features beside it for
    // the sample, and their records for the process's own sample when it keeps one
    DemoLayerSummary summary(m_plan);
    std::vector<Sampled> sample;
    if (spans <= 1) stream.Reset();
    else stream.ResetSpan(span * DemoTiler::kScanSpan, span == spans - 1 ? (1LL << 62) : (span + 1) * DemoTiler::kScanSpan);
    DemoFeature f;
    long long fid = 0;
    while (stream.Next(f, fid)) {
        summary.Add(f);
        if (!f.hasAnchor) continue;
        Offer(sample, fid);
        if (keep) keep->Offer(fid, f);
    }
    // Read strictly, a record GDAL cannot read fails the span with its identifier; read
    // leniently, it is skipped and counted
    if (!stream.GetError().empty()) {
        error = stream.GetError();
        return false;
    }
    summary.AddSkipped(stream.GetSkipped());
    bytes = Pack(summary.ToBytes(), sample);
    return true;
}

bool DemoTileJob::Merge(const std::vector<std::string>& parts, std::string& bytes, std::string& error) const
{
    DemoLayerSummary merged;
    bool first = true;
    std::vector<Sampled> sample;
    for (size_t i = 0; i < parts.size(); ++i) {
        std::string summaryBytes;
        std::vector<long long> fids;
        DemoLayerSummary part;
        if (!Unpack(parts[i], summaryBytes, fids) || !part.FromBytes(summaryBytes)) {
            error = "part " + std::to_string(i) + " is not a span's summary";
            return false;
        }
        if (first) merged = std::move(part), first = false;
        else if (!merged.Merge(part)) {
            error = "part " + std::to_string(i) + " summarises another layer or theme";
            return false;
        }
        for (long long fid : fids) Offer(sample, fid);
    }
    bytes = Pack(merged.ToBytes(), sample);
    return true;
}

bool DemoTileJob::Prepare(const std::string& merged, bool drawing, std::string& error, DemoSample* kept)
{
    if (!Planned(error)) return false;
    std::string summaryBytes;
    std::vector<long long> fids;
    if (!Unpack(merged, summaryBytes, fids) || !m_summary.FromBytes(summaryBytes)) {
        error = "the merged summary cannot be read";
        return false;
    }
    m_tree = DemoTileTree();
    m_tree.SetExtent(m_plan.extent[0], m_plan.extent[1], m_plan.extent[2], m_plan.extent[3]);
    m_summary.CountInto(m_tree);
    m_tree.Build(static_cast<std::uint64_t>(m_options.tileFeatures));
    // A kind given on the command line names the folder; a saved theme's kind is known once read
    if (!drawing && (!m_run.name.empty() || m_run.request.kind != 0)) {
        m_name = m_run.name.empty() ? DemoThemeBuilder::KindName(m_run.request.kind) : m_run.name;
        return true;
    }
    // The sample, as the tiler's scan keeps it: attributes and anchors, in identifier order.
    // What this process's spans kept is taken as read; the rest is read again by identifier.
    std::sort(fids.begin(), fids.end());
    std::vector<long long> absent;
    if (kept) {
        kept->Take(fids, m_sample.features, absent);
    } else {
        m_sample.features.clear();
        m_sample.features.resize(fids.size());
        absent = fids;
    }
    if (!absent.empty()) {
        DemoLayerStream stream;
        if (!stream.Open(m_options.dataPath, m_options.layerName, m_options.read, error)) return false;
        std::vector<DemoFeature> read;
        long long missing = -1;
        if (!stream.FetchAll(absent, read, missing)) {
            error = "the layer has no feature " + std::to_string(missing) + " any more (did it change?)";
            return false;
        }
        // Both lists are in identifier order: the places left empty are filled in turn
        size_t next = 0;
        for (size_t i = 0; i < fids.size() && next < read.size(); ++i) {
            if (next < absent.size() && fids[i] == absent[next]) {
                m_sample.features[i] = std::move(read[next++]);
                m_sample.features[i].parts.clear();
            }
        }
    }
    const DemoRun run = DemoTiler::Complete(m_run, m_needs.front(), m_summary);
    const DemoThemeCreator create = [this](int kind) { return m_factory->NewTheme3D(kind); };
    m_drawer.reset();
    if (!DemoThemeBuilder::Build(run.request, m_sample, create, m_master, error)) return false;
    m_name = m_run.name.empty() ? DemoThemeBuilder::KindName(m_master->GetType()) : m_run.name;
    DemoTileSettings settings;
    settings.dir = m_options.outDir + "/" + m_name;
    settings.capacity = static_cast<size_t>(m_options.tileFeatures);
    settings.heightScale = m_run.heightScale;
    settings.labels = m_master->GetType() == KrTheme3D::Theme3DLabel;
    settings.chartScale = run.chartScale;
    if (m_needs.front().chart >= 0)
        settings.chartTotals = std::make_shared<DemoChartTotals>(m_summary.GetChartTotals(static_cast<size_t>(m_needs.front().chart)));
    settings.geometryKinds = m_summary.GetGeometryKinds();
    settings.read = m_options.read;
    // Features are named as the demo's tiler names them: by the chosen field, else by a "name" field
    if (m_options.idFieldGiven || m_sample.FindField("name") >= 0)
        settings.idField = m_options.idFieldGiven ? m_options.idField : "name";
    std::unique_ptr<KrTheme3D> clone(m_factory->CloneTheme3D(m_master.get()));
    if (!clone) {
        error = "the factory could not clone the " + m_name + " theme";
        return false;
    }
    m_drawer = std::make_unique<DemoTileDrawer>(m_tree, settings);
    return m_drawer->Open(std::move(clone), m_sample, m_options.dataPath, m_options.layerName, error);
}

bool DemoTileJob::DrawNode(int index, const std::vector<std::string>& children, std::string& result, std::string& error)
{
    if (!m_drawer) {
        error = "the job is not prepared";
        return false;
    }
    if (index < 0 || static_cast<size_t>(index) >= m_tree.GetNodes().size()) {
        error = "the tree has no node " + std::to_string(index);
        return false;
    }
    const DemoTileNode& node = m_tree.GetNodes()[static_cast<size_t>(index)];
    DemoNodeInput input;
    std::vector<long long> fids;
    for (size_t i = 0; i < children.size(); ++i) {
        NodeResult child;
        if (!UnpackNode(children[i], child)) {
            error = "the result of child " + std::to_string(i) + " cannot be read";
            return false;
        }
        input.children.push_back(std::move(child.record));
        input.dropped = std::max(input.dropped, child.dropped);
        // The drawing sorts what its children hand up, so the order they come in does not matter
        const int childIndex = i < node.children.size() ? node.children[i] : -1;
        auto kept = std::find_if(m_kept.begin(), m_kept.end(),
                                 [&](const Kept& k) { return k.node == childIndex && k.fids == child.handUp; });
        if (kept != m_kept.end()) {
            for (DemoTileCandidate& c : kept->features) input.promoted.push_back(std::move(c));
            m_kept.erase(kept);
        } else {
            fids.insert(fids.end(), child.handUp.begin(), child.handUp.end());
        }
    }
    if (!m_drawer->Read(fids, input.promoted, error)) return false;
    DemoNodeOutput out;
    if (!m_drawer->Draw(index, input, out, error)) return false;
    result = PackNode(out);
    if (node.parent >= 0 && !out.handUp.empty()) {
        constexpr size_t kKeptNodes = 32;
        if (m_kept.size() >= kKeptNodes) m_kept.erase(m_kept.begin());
        Kept k;
        k.node = index;
        for (const DemoTileCandidate& c : out.handUp) k.fids.push_back(c.fid);
        k.features = std::move(out.handUp);
        m_kept.push_back(std::move(k));
    }
    return true;
}

bool DemoTileJob::Finish(const std::vector<std::string>& results, std::string& error) const
{
    if (!m_master || results.size() != m_tree.GetNodes().size()) {
        error = "the job needs one result per node of its tree";
        return false;
    }
    std::vector<DemoTileRecord> records;
    for (const std::string& bytes : results) {
        NodeResult node;
        if (!UnpackNode(bytes, node)) {
            error = "a node's result cannot be read";
            return false;
        }
        records.push_back(std::move(node.record));
    }
    const std::string dir = m_options.outDir + "/" + m_name;
    const std::string document = DemoTileset::Json(m_tree, records);
    const BSX::BsxUnicodeString xml = m_master->ToXML(DemoThemeBuilder::kXmlVersion, BSX::BsxUnicodeString::FromUtf8(dir));
    const std::string xmlText = xml.ToUtf8() + "\n";
    return DemoTileset::WriteAtomically(dir + "/theme.xml", xmlText.data(), xmlText.size(), false, error) &&
           DemoTileset::WriteAtomically(dir + "/tileset.json", document.data(), document.size(), true, error);
}

} // namespace KRN
