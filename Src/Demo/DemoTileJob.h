#pragma once
// The tiled output of one theme cut into steps that need not share a process, for schedulers
// that spread a layer over many machines: a summary of each span of identifiers, their merge in
// span order, the tree and the theme built from the merge, each node drawn on its own from what
// its children handed up (as identifiers), and the tileset document from the nodes' records.
// Every step calls the code the demo's own tiler runs, so both write the same bytes.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "DemoLayer.h"
#include "DemoLayerSummary.h"
#include "DemoOptions.h"
#include "DemoSample.h"
#include "DemoTileDrawer.h"
#include "DemoTileTree.h"
#include "DemoTiler.h"
#include "KrTheme3DFactory.h"

namespace KRN {

class DemoTileJob {
public:
    // The demo's options (its command line without the program name; one theme)
    bool Parse(const std::vector<std::string>& args, KrTheme3DFactory& factory, std::string& error);
    const DemoOptions& GetOptions() const { return m_options; }
    // The name of the theme's folder under the output folder
    const std::string& GetName() const { return m_name; }

    // How many spans the layer's scan takes
    bool CountSpans(long long& spans, std::string& error);
    // The summary of span number `span` of `spans` and the identifiers it offers to the sample.
    // With `keep`, the span's records offer themselves to it too, so that a later Prepare in the
    // same process need not read them again.
    bool SummariseSpan(long long span, long long spans, std::string& bytes, std::string& error, DemoSample* keep = nullptr);
    // The spans' bytes merged in the order given
    bool Merge(const std::vector<std::string>& parts, std::string& bytes, std::string& error) const;

    // Builds the tree and, for drawing and the documents, the theme from the merged bytes. The
    // sample's features come from `kept` (which is left empty) where it holds them, and are
    // read again by identifier otherwise. False with a message.
    bool Prepare(const std::string& merged, bool drawing, std::string& error, DemoSample* kept = nullptr);
    const DemoTileTree& GetTree() const { return m_tree; }
    std::uint64_t GetFeatures() const { return m_summary.GetFeatures(); }
    std::uint64_t GetSkipped() const { return m_summary.GetSkipped(); }

    // Draws node index (after Prepare) from its children's results, in the order of the node's
    // children; answers its own result (record, identifiers handed up, largest left out)
    bool DrawNode(int index, const std::vector<std::string>& children, std::string& result, std::string& error);

    // Writes the theme's document and, last, the tileset document from the nodes' results
    // (parallel to the tree's nodes), as the demo's tiler does. False with a message.
    bool Finish(const std::vector<std::string>& results, std::string& error) const;

private:
    KrTheme3DFactory* m_factory = nullptr;
    DemoOptions m_options;
    DemoRun m_run;
    std::string m_name;
    std::vector<DemoTiler::RunNeeds> m_needs;
    DemoSummaryPlan m_plan;
    bool m_planned = false;

    DemoLayerSummary m_summary;
    DemoTileTree m_tree;
    DemoLayer m_sample;
    std::unique_ptr<KrTheme3D> m_master;
    std::unique_ptr<DemoTileDrawer> m_drawer;
    // Features this job handed up from the nodes it drew, kept for their parent in case this
    // job draws it too: reading them again by identifier costs a quarter of the drawing. Only
    // the latest few nodes are kept (a parent drawn elsewhere reads them from the source).
    struct Kept {
        int node = -1;
        std::vector<long long> fids;
        std::vector<DemoTileCandidate> features;
    };
    std::vector<Kept> m_kept;

    bool Planned(std::string& error);
};

} // namespace KRN
