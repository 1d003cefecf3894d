#pragma once
// Drawing one node of a tiled layer's quadtree, apart from any scheduling, so that the tiler's
// threads and the workers of a cluster produce the same tiles: a leaf reads its own features
// through the source's spatial filter; a coarser tile draws, simplified, what its children handed
// up. Either way the node writes its contents (.glb, and label lists) and answers its record in
// the tileset and the features it hands to its parent.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DemoDrawer.h"
#include "DemoLayer.h"
#include "DemoLayerStream.h"
#include "DemoPreparedLayer.h"
#include "DemoTileTree.h"
#include "DemoTileset.h"
#include "KrTheme3D.h"

namespace KRN {

// A feature on its way up the tree: its identifier, its size on the ground (metres) and itself
struct DemoTileCandidate {
    long long fid = 0;
    double size = 0.0;
    DemoFeature feature;
};

// What a node's finished children give it
struct DemoNodeInput {
    // The features they handed up, in any order
    std::vector<DemoTileCandidate> promoted;
    // Size of the largest feature below them that none of them shows
    double dropped = 0.0;
    // Their records, in the order of the node's children
    std::vector<DemoTileRecord> children;
};

// What drawing a node gives back
struct DemoNodeOutput {
    DemoTileRecord record;
    // What the parent gets: the node's most prominent features (larger first, then by identifier)
    std::vector<DemoTileCandidate> handUp;
    double dropped = 0.0;
    // Features read from the source (leaves only)
    std::uint64_t features = 0;
};

struct DemoTileSettings {
    // The tileset's folder: contents go to its "tiles" folder
    std::string dir;
    // Most features per content; a node hands a quarter of it up
    size_t capacity = 8192;
    double heightScale = 1.0;
    // Label themes write each content's texts and places beside it
    bool labels = false;
    // How charts are scaled, and what the whole layer holds (from its summary) that the drawer
    // is prepared with instead of what the layer given to Open holds: chart totals, and the
    // geometry kinds (0: those of that layer)
    DemoChartScale chartScale;
    std::shared_ptr<const DemoChartTotals> chartTotals;
    unsigned geometryKinds = 0;
    // How the source is read (leniently, points from coordinate fields), as the scan read it
    DemoReadOptions read;
    // Field whose value names each feature in the tiles' tables and records (empty: "#" and the
    // feature's identifier)
    std::string idField;
    // Told of every file written (path and size), at once, so that a failed run can remove them
    std::function<void(const std::string&, std::uint64_t)> written;
    // Asked between features; a true answer stops the node with the message "interrupted"
    std::function<bool()> stop;
};

class DemoTileDrawer {
public:
    // The tree must outlive the drawer
    DemoTileDrawer(const DemoTileTree& tree, DemoTileSettings settings);
    ~DemoTileDrawer();
    DemoTileDrawer(const DemoTileDrawer&) = delete;
    DemoTileDrawer& operator=(const DemoTileDrawer&) = delete;

    // Takes a theme of its own (a clone: drawing changes a theme's state), prepares it for the
    // layer whose fields and sample the layer gives (kept by reference), and opens its own
    // reading of the source. False with a message.
    bool Open(std::unique_ptr<KrTheme3D> theme, const DemoLayer& layer, const std::string& dataPath,
              const std::string& layerName, std::string& error);

    // Draws node index of the tree; input is consumed. False with a message; the files written
    // before the failure have been announced.
    bool Draw(int index, DemoNodeInput& input, DemoNodeOutput& out, std::string& error);

    // Reads features again by their identifiers, as a leaf read them, for a parent that got only
    // the identifiers of what its children handed up. False with a message naming a missing one.
    bool Read(const std::vector<long long>& fids, std::vector<DemoTileCandidate>& out, std::string& error);

    // The drawer, its legend, and per legend entry the features drawn in leaves (each feature of
    // the layer once, where coarser tiles repeat some), with how many were drawn at all
    const DemoDrawer& GetDrawer() const { return *m_drawer; }
    // The theme as prepared for the layer (chart sizes set)
    const KrTheme3D& GetTheme() const { return *m_theme; }
    const std::vector<size_t>& GetLeafCounts() const { return m_leafCounts; }
    size_t GetLeafDrawn() const { return m_leafDrawn; }

private:
    bool WriteContent(const DemoTileNode& node, std::vector<DemoTileCandidate*>& batch, DemoTileRecord& record,
                      std::string& error);

    struct Geos;
    const DemoTileTree& m_tree;
    DemoTileSettings m_settings;
    std::unique_ptr<KrTheme3D> m_theme;
    std::unique_ptr<DemoDrawer> m_drawer;
    DemoLayerStream m_stream;
    // Features are repaired and triangulated with the drawer's own GEOS contexts
    DemoPreparedLayer m_prepared;
    DemoMesh m_mesh;
    std::unique_ptr<Geos> m_geos;
    // The layer's fields as the records name them
    std::vector<DemoField> m_fields;
    std::vector<BSX::BsxUnicodeString> m_fieldNames;
    std::vector<size_t> m_leafCounts;
    size_t m_leafDrawn = 0;
};

} // namespace KRN
