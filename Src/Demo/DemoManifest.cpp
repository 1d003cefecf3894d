#include "DemoManifest.h"

#include <utility>

#include "DemoJson.h"
#include "DemoOutput.h"

namespace KRN {

namespace {

void Extent(DemoJson& j, const std::array<double, 4>& e)
{
    j.Key("extent").BeginObject().Key("west").Number(e[0]).Key("south").Number(e[1]);
    j.Key("east").Number(e[2]).Key("north").Number(e[3]).EndObject();
}

} // namespace

DemoManifest::DemoManifest(std::string layerName, unsigned long long features, const std::array<double, 4>& extent)
    : m_layer(std::move(layerName)), m_features(features), m_extent(extent)
{
}

std::string DemoManifest::Json() const
{
    DemoJson j;
    j.BeginObject().Key("layer").BeginObject().Key("name").String(m_layer);
    j.Key("features").Integer(static_cast<long long>(m_features));
    Extent(j, m_extent);
    j.EndObject().Key("themes").BeginArray();
    for (const Theme& t : m_themes) {
        j.BeginObject().Key("name").String(t.name).Key("kind").String(t.kind);
        const std::pair<const char*, const std::string*> files[] = {{"glb", &t.glb},         {"tileset", &t.tileset},
                                                                   {"xml", &t.xml},         {"legend", &t.legend},
                                                                   {"features", &t.features}, {"labels", &t.labels}};
        for (const auto& f : files) {
            if (!f.second->empty()) j.Key(f.first).String(*f.second);
        }
        j.Key("heightScale").Number(t.heightScale);
        // Every theme of a run draws the same layer
        Extent(j, m_extent);
        j.EndObject();
    }
    j.EndArray().EndObject();
    return j.Text() + "\n";
}

bool DemoManifest::Write(const std::string& dir, std::string& error) const
{
    DemoOutputSet file;
    return file.WriteText(dir + "/scene.json", Json(), error) && file.Commit(error);
}

} // namespace KRN
