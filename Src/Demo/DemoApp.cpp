#include "DemoApp.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>

#include "BsxArray.h"
#include "DemoDrawer.h"
#include "DemoGlbWriter.h"
#include "DemoJson.h"
#include "DemoLayerReader.h"
#include "DemoLegend.h"
#include "DemoManifest.h"
#include "DemoOutput.h"
#include "DemoPlugin.h"
#include "DemoProgress.h"
#include "DemoPreparedLayer.h"
#include "DemoScene.h"
#include "DemoTiler.h"
#include "KrTextStyle.h"
#include "KrTheme3DGraph.h"

namespace KRN {

namespace {

using Clock = std::chrono::steady_clock;

double Ms(Clock::time_point since) { return std::chrono::duration<double, std::milli>(Clock::now() - since).count(); }

// Diagonal in degrees of the extent of a feature's largest part: viewers place the labels of
// larger features first. Parts count alone, so that islands either side of the antimeridian do
// not make a small country span the globe.
double Span(const DemoFeature& f)
{
    double span = 0.0;
    for (const DemoPart& part : f.parts) {
        double lo[2] = {1e300, 1e300}, hi[2] = {-1e300, -1e300};
        for (const auto& ring : part.rings) {
            for (const auto& p : ring) {
                lo[0] = std::min(lo[0], p.x), hi[0] = std::max(hi[0], p.x);
                lo[1] = std::min(lo[1], p.y), hi[1] = std::max(hi[1], p.y);
            }
        }
        if (hi[0] >= lo[0]) span = std::max(span, std::hypot(hi[0] - lo[0], hi[1] - lo[1]));
    }
    return span;
}

// Markers stand about a four-hundredth of the layer's extent across: seen whole, the layer's
// points stay apart and visible; between 20 m (a street) and 20 km (the whole globe)
double MarkerRadius(const DemoLayer& layer)
{
    const BSX::BsxRect2D& b = layer.bounds;
    const double degrees = std::hypot(b.right - b.left, b.top - b.bottom);
    const double metres = std::isfinite(degrees) ? degrees * 111320.0 / 400.0 : 0.0;
    return std::min(20000.0, std::max(20.0, metres));
}

struct RunTimes {
    double build = 0.0, draw = 0.0, write = 0.0;
};

} // namespace

namespace {

// Draws one theme and writes its files; its entry goes to the scene manifest
int RunOne(const DemoOptions& options, const DemoRun& run, const DemoLayer& layer, const DemoPreparedLayer& prepared,
           KrTheme3DFactory& factory,
           RunTimes& times, DemoManifest& manifest)
{
    std::string error;
    auto started = Clock::now();
    std::unique_ptr<KrTheme3D> theme;
    const DemoThemeCreator create = [&factory](int kind) { return factory.NewTheme3D(kind); };
    DemoBuildReport report;
    if (!DemoThemeBuilder::Build(run.request, layer, create, theme, error, &report)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    if (report.distinctValues > report.classes) {
        std::fprintf(stderr,
                     "t3d_demo: warning: '%s' has %d distinct values; the %d most frequent have classes, the others are"
                     " drawn as \"Other values\" (--max-classes raises the limit)\n",
                     run.request.field.c_str(), report.distinctValues, report.classes);
    }
    const std::string name = run.name.empty() ? DemoThemeBuilder::KindName(theme->GetType()) : run.name;
    times.build = Ms(started);

    started = Clock::now();
    const bool chart = theme->GetType() == KrTheme3D::Theme3DGraph;
    const DemoChartScale& cs = run.chartScale;
    if (!chart && (cs.series != DemoChartScale::Series::Auto || cs.barWidth > 0.0 || cs.sizeMax > 0.0)) {
        std::fprintf(stderr, "t3d_demo: the chart options have no effect on the %s theme of '%s'\n",
                     DemoThemeBuilder::KindName(theme->GetType()), run.request.themeFile.c_str());
        return 2;
    }
    DemoDrawer drawer(*theme, layer);
    drawer.SetChartScale(run.chartScale);
    if (!drawer.Prepare(error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    DemoScene scene;
    // Charts come out of the drawer in metres already
    scene.SetHeightScale(chart ? 1.0 : run.heightScale);
    scene.SetMarkerRadius(MarkerRadius(layer));
    scene.Reserve(prepared.GetStats().meshVertices, prepared.GetStats().triangles * 3);
    const int idField = options.idField.empty() ? -1 : layer.FindField(options.idField);
    const BSX::BsxUnicodeString idName = BSX::BsxUnicodeString::FromUtf8(options.idField);
    DemoJson labels, perFeature;
    labels.BeginObject().Key("name").String(name);
    if (KrTextStyle* ts = theme->GetType() == KrTheme3D::Theme3DLabel ? theme->GetTextStyle() : nullptr) {
        labels.Key("textStyle").BeginObject().Key("face").String(ts->GetFaceName().ToUtf8());
        labels.Key("size").Number(ts->GetSize()).Key("halo").Bool(ts->IsHalo());
        const BSX::BsxColor c = ts->GetForeColor();
        DemoLegend::Colour(labels, KrColorValue3D(BSXREDVAL(c) / 255.0, BSXGREENVAL(c) / 255.0, BSXBLUEVAL(c) / 255.0,
                                      BSXALPHAVAL(c) / 255.0));
        labels.EndObject();
    }
    labels.Key("labels").BeginArray();
    perFeature.BeginObject().Key("name").String(name).Key("features").BeginArray();
    size_t drawn = 0, charts = 0, labelled = 0;
    DemoDrawnFeature out;
    const BSX::BsxUnicodeString expression = theme->GetExpression();
    std::vector<BSX::BsxUnicodeString> fieldNames;
    for (const DemoField& field : layer.fields) fieldNames.push_back(BSX::BsxUnicodeString::FromUtf8(field.name));
    {
        DemoProgress progress(name, layer.features.size(), options.progress);
        for (size_t i = 0; i < layer.features.size(); ++i) {
            const DemoFeature& f = layer.features[i];
            drawer.Draw(i, out);
            BSX::BsxVariant idValue;
            if (idField >= 0) f.feature->GetValue(idName, idValue);
            const std::string featureName = idField >= 0 ? idValue.ToString().ToUtf8() : "#" + std::to_string(i);
            scene.BeginFeature(static_cast<std::uint32_t>(i), featureName);
            if (out.drawn && out.style) {
                scene.AddFeature(f, &prepared.GetMesh(i), *out.style);
                ++drawn;
            }
            if (out.chart) {
                scene.AddChart(*out.chart);
                ++charts;
            }
            if (!out.label.IsEmpty() && f.hasAnchor) {
                const BSX::BsxPoint3D e = DemoScene::ToEcef(f.anchor.x, f.anchor.y, 0.0);
                labels.BeginObject().Key("text").String(out.label.ToUtf8()).Key("lon").Number(f.anchor.x);
                labels.Key("lat").Number(f.anchor.y).Key("height").Number(0.0).Key("size").Number(Span(f));
                labels.Key("ecef").BeginArray().Number(e.x).Number(e.y).Number(e.z).EndArray().EndObject();
                ++labelled;
            }
            DemoLegend::Record(perFeature, i, idField >= 0 ? &featureName : nullptr, f, out, drawer, expression,
                               layer.fields, fieldNames);
            progress.Update(i + 1);
        }
    }
    labels.EndArray().EndObject();
    perFeature.EndArray().EndObject();
    times.draw = Ms(started);

    started = Clock::now();
    const std::string base = options.outDir + "/" + name;
    const BSX::BsxUnicodeString xml = theme->ToXML(DemoThemeBuilder::kXmlVersion, BSX::BsxUnicodeString::FromUtf8(options.outDir));
    // Every file of the theme is complete before any of them takes its final name
    std::vector<std::string> paths = {base + ".glb", base + ".theme.xml", base + ".legend.json", base + ".features.json"};
    if (theme->GetType() == KrTheme3D::Theme3DLabel) paths.push_back(base + ".labels.json");
    DemoOutputSet files;
    bool ok = DemoGlbWriter::Write(scene, files.Begin(paths[0]), error) &&
              files.WriteText(paths[1], xml.ToUtf8() + "\n", error) &&
              files.WriteText(paths[2], DemoLegend::Json(run, *theme, drawer, layer.features.size(), drawn, report), error) &&
              files.WriteText(paths[3], perFeature.Text() + "\n", error);
    if (ok && paths.size() > 4) ok = files.WriteText(paths[4], labels.Text() + "\n", error);
    if (ok) ok = files.Commit(error);
    times.write = Ms(started);
    if (!ok) {
        std::string missing;
        for (size_t i = files.GetCommitted(); i < paths.size(); ++i) missing += (missing.empty() ? "" : ", ") + paths[i];
        std::fprintf(stderr, "t3d_demo: %s; not written: %s\n", error.c_str(), missing.c_str());
        return 3;
    }
    DemoManifest::Theme entry;
    entry.name = name;
    entry.kind = DemoThemeBuilder::KindName(theme->GetType());
    entry.glb = name + ".glb", entry.xml = name + ".theme.xml";
    entry.legend = name + ".legend.json", entry.features = name + ".features.json";
    if (theme->GetType() == KrTheme3D::Theme3DLabel) entry.labels = name + ".labels.json";
    entry.heightScale = run.heightScale;
    manifest.Add(entry);
    std::printf("%-8s %-7s %6zu features, %5zu drawn, %4d classes, %5zu labels, %5zu charts, %7zu triangles;"
                " build %.1f ms, draw %.1f ms, write %.1f ms\n",
                name.c_str(), DemoThemeBuilder::KindName(theme->GetType()), layer.features.size(), drawn,
                drawer.GetClassCount(), labelled, charts, scene.GetTriangleCount(), times.build, times.draw,
                times.write);
    std::printf("         query fields:");
    for (const auto& q : drawer.GetQueryFields()) std::printf(" %s", q.c_str());
    std::printf("\n         files: %s.glb .theme.xml .legend.json .features.json%s\n", base.c_str(),
                theme->GetType() == KrTheme3D::Theme3DLabel ? " .labels.json" : "");
    return 0;
}

} // namespace

int DemoApp::Run(const DemoOptions& options)
{
    std::string error;
    DemoPlugin plugin;
    if (!plugin.Load(options.pluginPath, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    KrTheme3DFactory& factory = *plugin.GetFactory();
    BSX::BsxArray<int> kinds;
    factory.GetSupportTheme3DType(kinds);
    std::printf("plug-in %s: \"%s\", kinds", options.pluginPath.c_str(), factory.GetName().ToUtf8().c_str());
    for (int k : kinds) std::printf(" %d (%s)", k, DemoThemeBuilder::KindName(k));
    std::printf("\n");

    // Tiles never hold the layer: the tiler reads it itself, tile by tile
    if (options.tiles) return DemoTiler::Run(options, factory);

    auto started = Clock::now();
    DemoLayer layer;
    if (!DemoLayerReader::Read(options.dataPath, options.layerName, options.read, layer, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 2;
    }
    const double readMs = Ms(started);
    // Regions are repaired and triangulated once, for every theme drawn on the layer
    started = Clock::now();
    DemoPreparedLayer prepared;
    prepared.Prepare(layer);
    const double prepareMs = Ms(started);
    const DemoPrepareStats& stats = prepared.GetStats();
    std::printf("layer %s: %zu features, %zu fields, read in %.1f ms", layer.name.c_str(), layer.features.size(),
                layer.fields.size(), readMs);
    if (stats.inputVertices > 0) {
        std::printf("; surfaces of %zu vertices as %zu triangles (%zu features repaired, %zu split at the antimeridian)"
                    " in %.1f ms: %.0f vertices/s, %.0f triangles/s",
                    stats.inputVertices, stats.triangles, stats.repairedFeatures, stats.splitFeatures, prepareMs,
                    stats.inputVertices / std::max(prepareMs, 1e-3) * 1000.0,
                    stats.triangles / std::max(prepareMs, 1e-3) * 1000.0);
    }
    std::printf("\n");
    if (layer.skipped > 0)
        std::printf("skipped %zu features that could not be read (--lenient)\n", layer.skipped);
    if (options.idFieldGiven && layer.FindField(options.idField) < 0) {
        std::fprintf(stderr, "t3d_demo: the layer '%s' has no field '%s'\n", layer.name.c_str(), options.idField.c_str());
        return 2;
    }
    if (!MakeDirectory(options.outDir, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 3;
    }
    DemoOptions effective = options;
    if (!effective.idFieldGiven && layer.FindField("name") >= 0) effective.idField = "name";
    int status = 0;
    RunTimes total;
    // The manifest lists every theme drawn, so that a viewer needs nothing but this folder
    DemoManifest manifest(layer.name, layer.features.size(),
                          {layer.bounds.left, layer.bounds.bottom, layer.bounds.right, layer.bounds.top});
    for (const DemoRun& run : options.runs) {
        RunTimes times;
        const int result = RunOne(effective, run, layer, prepared, factory, times, manifest);
        if (result != 0) return result;
        total.build += times.build, total.draw += times.draw, total.write += times.write;
    }
    if (!manifest.Write(options.outDir, error)) {
        std::fprintf(stderr, "t3d_demo: %s\n", error.c_str());
        return 3;
    }
    std::printf("summary: %zu themes on %zu features; read %.1f ms, build %.1f ms, draw %.1f ms, write %.1f ms\n",
                options.runs.size(), layer.features.size(), readMs, total.build, total.draw, total.write);
    return status;
}

} // namespace KRN
