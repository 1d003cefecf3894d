#include "DemoTileDrawer.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <geos_c.h>

#include "DemoGlbWriter.h"
#include "DemoJson.h"
#include "DemoLegend.h"
#include "DemoScene.h"

namespace KRN {

namespace {

constexpr double kMetresPerDegree = 111320.0;
constexpr double kPi = 3.14159265358979323846;
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
    const double dx = (e - w) * kMetresPerDegree * std::cos((s + n) * 0.5 * kPi / 180.0);
    return std::hypot(dx, (n - s) * kMetresPerDegree);
}

double SideMetres(const std::array<double, 4>& r)
{
    const double mid = (r[1] + r[3]) * 0.5 * kPi / 180.0;
    return std::max((r[2] - r[0]) * kMetresPerDegree * std::cos(mid), (r[3] - r[1]) * kMetresPerDegree);
}

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
        // A polygon of one ring with four corners (a house, a parcel) could lose at most one
        // of them and become a triangle: a worse picture for one vertex less, so it is kept as
        // it is, and the simplification is not paid for on the many such features of a layer
        if (kind == KrGeometry::GEO_REGION && part.rings.size() == 1 && part.rings.front().size() <= 5) continue;
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

// Larger features first, then by identifier, so the choice never depends on reading order
bool Prominent(const DemoTileCandidate& a, const DemoTileCandidate& b)
{
    return a.size != b.size ? a.size > b.size : a.fid < b.fid;
}

} // namespace

struct DemoTileDrawer::Geos {
    GEOSContextHandle_t h = GEOS_init_r();
    Geos()
    {
        GEOSContext_setErrorMessageHandler_r(h, [](const char*, void*) {}, nullptr);
        GEOSContext_setNoticeMessageHandler_r(h, [](const char*, void*) {}, nullptr);
    }
    ~Geos() { GEOS_finish_r(h); }
    Geos(const Geos&) = delete;
    Geos& operator=(const Geos&) = delete;
};

DemoTileDrawer::DemoTileDrawer(const DemoTileTree& tree, DemoTileSettings settings)
    : m_tree(tree), m_settings(std::move(settings)), m_geos(std::make_unique<Geos>())
{
}

DemoTileDrawer::~DemoTileDrawer()
{
    // The drawer refers to the theme
    m_drawer.reset();
}

bool DemoTileDrawer::Open(std::unique_ptr<KrTheme3D> theme, const DemoLayer& layer, const std::string& dataPath,
                          const std::string& layerName, std::string& error)
{
    m_drawer.reset();
    m_theme = std::move(theme);
    if (!m_theme) {
        error = "no theme to draw with";
        return false;
    }
    m_drawer = std::make_unique<DemoDrawer>(*m_theme, layer);
    m_fields = layer.fields;
    m_fieldNames.clear();
    for (const DemoField& field : m_fields) m_fieldNames.push_back(BSX::BsxUnicodeString::FromUtf8(field.name));
    m_drawer->SetChartScale(m_settings.chartScale);
    if (m_settings.chartTotals) m_drawer->SetChartTotals(*m_settings.chartTotals);
    if (m_settings.geometryKinds != 0) m_drawer->SetGeometryKinds(m_settings.geometryKinds);
    return m_drawer->Prepare(error) && m_stream.Open(dataPath, layerName, m_settings.read, error);
}

bool DemoTileDrawer::Read(const std::vector<long long>& fids, std::vector<DemoTileCandidate>& out, std::string& error)
{
    std::vector<DemoFeature> features;
    long long missing = -1;
    if (!m_stream.FetchAll(fids, features, missing)) {
        error = "the layer has no feature " + std::to_string(missing) + " any more (did it change?)";
        return false;
    }
    out.reserve(out.size() + fids.size());
    for (size_t i = 0; i < fids.size(); ++i) {
        DemoTileCandidate c;
        c.fid = fids[i];
        c.feature = std::move(features[i]);
        c.size = FeatureSize(c.feature);
        out.push_back(std::move(c));
    }
    return true;
}

bool DemoTileDrawer::Draw(int index, DemoNodeInput& input, DemoNodeOutput& out, std::string& error)
{
    if (!m_drawer) {
        error = "the tile drawer is not open";
        return false;
    }
    if (index < 0 || static_cast<size_t>(index) >= m_tree.GetNodes().size()) {
        error = "the tree has no node " + std::to_string(index);
        return false;
    }
    const DemoTileNode& node = m_tree.GetNodes()[static_cast<size_t>(index)];
    const std::array<double, 4> rect = m_tree.GetRect(node);
    out = DemoNodeOutput();
    DemoTileRecord& record = out.record;
    // What this node hands to its parent: its most prominent features, a quarter of a tile
    const size_t handUp = node.parent >= 0 ? m_settings.capacity / 4 : 0;
    std::vector<DemoTileCandidate>& keep = out.handUp;
    // Largest feature below this node that it does not show itself
    const double missing = input.dropped;
    out.dropped = input.dropped;
    auto settle = [&](std::vector<DemoTileCandidate>& drawn) {
        for (DemoTileCandidate& c : drawn) keep.push_back(std::move(c));
        drawn.clear();
        std::sort(keep.begin(), keep.end(), Prominent);
        if (keep.size() > handUp) {
            out.dropped = std::max(out.dropped, keep[handUp].size);
            keep.resize(handUp);
        }
    };
    if (node.IsLeaf()) {
        m_stream.ResetInside(rect[0] - kQueryMargin, rect[1] - kQueryMargin, rect[2] + kQueryMargin,
                             rect[3] + kQueryMargin);
        std::vector<DemoTileCandidate> chunk;
        DemoTileCandidate c;
        auto flush = [&]() {
            std::vector<DemoTileCandidate*> batch;
            for (DemoTileCandidate& x : chunk) batch.push_back(&x);
            if (!WriteContent(node, batch, record, error)) return false;
            settle(chunk);
            return true;
        };
        while (m_stream.Next(c.feature, c.fid)) {
            if (m_settings.stop && m_settings.stop()) {
                error = "interrupted";
                return false;
            }
            if (!c.feature.hasAnchor || !m_tree.Contains(node, c.feature.anchor.x, c.feature.anchor.y)) continue;
            ++out.features;
            c.size = FeatureSize(c.feature);
            chunk.push_back(std::move(c));
            c = DemoTileCandidate();
            if (chunk.size() >= m_settings.capacity && !flush()) return false;
        }
        if (!m_stream.GetError().empty()) {
            error = m_stream.GetError();
            return false;
        }
        if (!chunk.empty() && !flush()) return false;
        if (out.features != node.count) {
            error = "the tile " + DemoTileTree::Name(node) + " should hold " + std::to_string(node.count) +
                    " features but the layer gave " + std::to_string(out.features) + " for its place (did it change?)";
            return false;
        }
        record.geometricError = 0.0;
    } else {
        // A coarser tile: the most prominent features of its children, simplified
        const double side = SideMetres(rect);
        const double tolerance = (rect[2] - rect[0] + rect[3] - rect[1]) * 0.5 * kSimplifyPerSide;
        std::vector<DemoTileCandidate> drawn = std::move(input.promoted);
        input.promoted.clear();
        std::vector<DemoTileCandidate> simplified;
        std::vector<DemoTileCandidate*> batch;
        for (DemoTileCandidate& x : drawn) {
            DemoTileCandidate s;
            s.fid = x.fid, s.size = x.size;
            s.feature.geometryType = x.feature.geometryType;
            s.feature.parts = x.feature.parts;
            s.feature.anchor = x.feature.anchor;
            s.feature.hasAnchor = x.feature.hasAnchor;
            s.feature.feature = std::move(x.feature.feature);
            Simplify(m_geos->h, s.feature, tolerance);
            simplified.push_back(std::move(s));
        }
        for (DemoTileCandidate& x : simplified) batch.push_back(&x);
        if (!WriteContent(node, batch, record, error)) return false;
        // The parent gets the full geometry back, to simplify at its own scale
        for (size_t i = 0; i < drawn.size(); ++i) drawn[i].feature.feature = std::move(simplified[i].feature.feature);
        settle(drawn);
        record.geometricError = std::max(missing, side * kErrorPerSide);
        for (const DemoTileRecord& c : input.children) {
            record.geometricError = std::max(record.geometricError, c.geometricError);
            if (!c.hasRegion) continue;
            if (record.hasRegion) DemoTileset::Extend(record.region, c.region);
            else record.region = c.region, record.hasRegion = true;
        }
    }
    if (!record.hasRegion) {
        record.region = DemoTileset::RectRegion(rect);
        record.hasRegion = true;
    }
    return true;
}

bool DemoTileDrawer::WriteContent(const DemoTileNode& node, std::vector<DemoTileCandidate*>& batch,
                                  DemoTileRecord& record, std::string& error)
{
    std::sort(batch.begin(), batch.end(),
              [](const DemoTileCandidate* a, const DemoTileCandidate* b) { return a->fid < b->fid; });
    DemoScene scene;
    scene.SetHeightScale(m_settings.heightScale);
    DemoJson labels, records;
    bool anyLabel = false;
    DemoDrawnFeature out;
    size_t next = 0;
    const BSX::BsxUnicodeString expression = m_theme->GetExpression();
    const BSX::BsxUnicodeString idName = BSX::BsxUnicodeString::FromUtf8(m_settings.idField);
    if (m_leafCounts.size() != m_drawer->GetLegend().size()) m_leafCounts.assign(m_drawer->GetLegend().size(), 0);
    while (next < batch.size() || next == 0) {
        // Feature ids count from 0 in every content, so that its feature table stays small
        const size_t first = next;
        size_t vertices = 0;
        labels = DemoJson();
        labels.BeginObject().Key("labels").BeginArray();
        records = DemoJson();
        records.BeginObject().Key("features").BeginArray();
        anyLabel = false;
        for (; next < batch.size(); ++next) {
            const DemoTileCandidate& c = *batch[next];
            m_drawer->Draw(c.feature, static_cast<size_t>(c.fid), out);
            BSX::BsxVariant idValue;
            const std::string name = !m_settings.idField.empty() && c.feature.feature->GetValue(idName, idValue)
                                         ? idValue.ToString().ToUtf8()
                                         : "#" + std::to_string(c.fid);
            scene.BeginFeature(static_cast<std::uint32_t>(next - first), name);
            DemoLegend::Record(records, next - first, &name, c.feature, out, *m_drawer, expression, m_fields, m_fieldNames,
                               true);
            if (node.IsLeaf()) {
                m_leafDrawn += out.drawn ? 1 : 0;
                if (out.legendEntry >= 0 && static_cast<size_t>(out.legendEntry) < m_leafCounts.size())
                    ++m_leafCounts[static_cast<size_t>(out.legendEntry)];
            }
            if (out.drawn && out.style) {
                // The anchor came with the feature and chose its tile: only the mesh is needed
                if (c.feature.geometryType % 100 == KrGeometry::GEO_REGION) m_prepared.PrepareFeature(c.feature.parts, m_mesh, nullptr);
                else m_mesh = DemoMesh();
                scene.AddFeature(c.feature, &m_mesh, *out.style);
            }
            if (out.chart) scene.AddChart(*out.chart);
            if (m_settings.labels && !out.label.IsEmpty() && c.feature.hasAnchor) {
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
        records.EndArray().EndObject();
        if (vertices == 0 && !anyLabel) {
            if (next == 0) break;
            continue;
        }
        const std::string base = "tiles/" + DemoTileTree::Name(node) + "_" + std::to_string(record.contents.size());
        std::vector<std::uint8_t> bytes = DemoGlbWriter::Encode(scene);
        DemoRegion region;
        if (!DemoTileset::SceneRegion(scene, region)) region = DemoTileset::RectRegion(m_tree.GetRect(node));
        if (bytes.empty()) {
            error = "the tile " + base + " would exceed 4 GiB";
            return false;
        }
        const std::string glb = m_settings.dir + "/" + base + ".glb";
        if (!DemoTileset::WriteAtomically(glb, bytes.data(), bytes.size(), false, error)) return false;
        if (m_settings.written) m_settings.written(glb, bytes.size());
        if (anyLabel) {
            const std::string labelText = labels.Text() + "\n";
            const std::string path = m_settings.dir + "/" + base + ".labels.json";
            if (!DemoTileset::WriteAtomically(path, labelText.data(), labelText.size(), false, error)) return false;
            if (m_settings.written) m_settings.written(path, labelText.size());
        }
        // What a viewer shows for a picked feature, by its number in the content's table
        const std::string recordText = records.Text() + "\n";
        const std::string recordPath = m_settings.dir + "/" + base + ".features.json";
        if (!DemoTileset::WriteAtomically(recordPath, recordText.data(), recordText.size(), false, error)) return false;
        if (m_settings.written) m_settings.written(recordPath, recordText.size());
        record.contents.push_back(base + ".glb");
        if (record.hasRegion) DemoTileset::Extend(record.region, region);
        else record.region = region, record.hasRegion = true;
        scene = DemoScene();
        scene.SetHeightScale(m_settings.heightScale);
        if (next >= batch.size()) break;
    }
    return true;
}

} // namespace KRN
