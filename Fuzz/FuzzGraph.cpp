// A graph theme read from any text, written and read back, then drawn as each chart kind.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "BsxUnicodeString.h"
#include "FuzzCheck.h"
#include "KrGeometry.h"
#include "KrTheme3DGraph.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const int versions[] = {0, 20031211, 20031212, 20090106, 20120328, 1};
    const int version = size > 0 ? versions[data[0] % 6] : 0;
    KRN::KrTheme3DGraph graph;
    if (!graph.FromXML(BSX::BsxUnicodeString::FromUtf8(text), version, BSX::BsxUnicodeString())) return 0;
    const BSX::BsxUnicodeString first = graph.ToXML(0, BSX::BsxUnicodeString());
    KRN::KrTheme3DGraph again;
    FuzzCheck::Require(again.FromXML(first, 0, BSX::BsxUnicodeString()), "a graph theme refuses its own text");
    FuzzCheck::SameText(first, again.ToXML(0, BSX::BsxUnicodeString()), "graph theme");
    graph.PrepareTheme();
    graph.UpdateTheme();
    // Drawing reads captions from the working chart and styles from the update chart, which
    // now hold the same items; keep the chart small so that a huge claimed count stays cheap
    const int count = graph.GetCount() < 64 ? graph.GetCount() : 0;
    for (int type : {KRN::KrTheme3DGraph::GraphBar, KRN::KrTheme3DGraph::GraphStackedBar, KRN::KrTheme3DGraph::GraphPie}) {
        graph.SetGraphType(type);
        graph.SetShowItemText(true);
        std::vector<double> values(static_cast<std::size_t>(count) + 1);
        for (int i = 0; i < count; ++i) values[static_cast<std::size_t>(i)] = i % 3 == 1 ? -1.0 : 1.5 * (i + 1);
        std::unique_ptr<KRN::KrGeometry> chart(
            graph.ConvertToGeometry(values.data(), static_cast<unsigned int>(count), BSX::BsxPoint3D(10, 45, 0)));
    }
    return 0;
}
