// A layer tiled in steps that any scheduler can spread over processes and machines: span
// summaries, their merge, the tree and theme built from it, one node drawn at a time, and the
// tileset document written last. Steps hand each other bytes.
#include <string>
#include <vector>

#include <pybind11/stl.h>

#include "DemoTileJob.h"
#include "T3dPython.h"

namespace py = pybind11;

namespace t3dpy {
namespace {

std::vector<std::string> Texts(const std::vector<py::bytes>& list)
{
    std::vector<std::string> out;
    out.reserve(list.size());
    for (const py::bytes& b : list) out.push_back(std::string(b));
    return out;
}

// Runs a step without Python's lock (steps read, draw and write for seconds) and turns its
// failure into Error with the step's message and what the module logged meanwhile
template <typename Step> void Run(Step&& step)
{
    const LogMark mark;
    std::string error;
    bool ok = false;
    {
        py::gil_scoped_release unlocked;
        ok = step(error);
    }
    if (!ok) mark.Fail(error);
}

} // namespace

void BindTiles(py::module_& m)
{
    py::class_<KRN::DemoSample>(m, "Sample",
                                "Records a process's span summaries keep for its later prepare, so that the "
                                "sample's features are not read again: at most 65,536, those whose identifiers "
                                "hash smallest. Threads may share one.")
        .def(py::init<>())
        .def("__len__", &KRN::DemoSample::Size);
    py::class_<KRN::DemoTileJob>(m, "TileJob",
                                 "One theme of one layer tiled in steps: the demo's --tiles options without "
                                 "--tiles and --threads")
        .def(py::init([](const std::vector<std::string>& args) {
                 auto job = std::make_unique<KRN::DemoTileJob>();
                 std::string error;
                 if (!job->Parse(args, Factory(), error)) throw Error(error);
                 return job;
             }),
             py::arg("args"))
        .def_property_readonly("name", &KRN::DemoTileJob::GetName, "The theme's folder name (after prepare)")
        .def_property_readonly("out_dir", [](const KRN::DemoTileJob& j) { return j.GetOptions().outDir; })
        .def_property_readonly("data", [](const KRN::DemoTileJob& j) { return j.GetOptions().dataPath; })
        .def_property_readonly("features", &KRN::DemoTileJob::GetFeatures, "Features read by the scan (after prepare)")
        .def_property_readonly("skipped", &KRN::DemoTileJob::GetSkipped,
                               "Features the scan could not read and skipped (--lenient; after prepare)")
        .def("count_spans", [](KRN::DemoTileJob& j) {
            long long spans = 0;
            Run([&](std::string& e) { return j.CountSpans(spans, e); });
            return spans;
        }, "How many spans of identifiers the scan takes")
        .def("summarise_span", [](KRN::DemoTileJob& j, long long span, long long spans, KRN::DemoSample* keep) {
            std::string bytes;
            Run([&](std::string& e) { return j.SummariseSpan(span, spans, bytes, e, keep); });
            return py::bytes(bytes);
        }, py::arg("span"), py::arg("spans"), py::arg("keep") = nullptr,
           "The summary of one span, as bytes; its records offer themselves to the Sample keep")
        .def("merge", [](const KRN::DemoTileJob& j, const std::vector<py::bytes>& parts) {
            const std::vector<std::string> texts = Texts(parts);
            std::string bytes;
            Run([&](std::string& e) { return j.Merge(texts, bytes, e); });
            return py::bytes(bytes);
        }, py::arg("parts"), "The spans' summaries merged in the order given")
        .def("prepare", [](KRN::DemoTileJob& j, const py::bytes& merged, bool drawing, KRN::DemoSample* kept) {
            const std::string bytes = merged;
            Run([&](std::string& e) { return j.Prepare(bytes, drawing, e, kept); });
        }, py::arg("merged"), py::arg("drawing") = true, py::arg("kept") = nullptr,
           "Builds the tree and (drawing) a theme of its own from the merged summary, taking the sample's "
           "records from the Sample kept (left empty) where it holds them")
        .def("nodes", [](const KRN::DemoTileJob& j) {
            py::list out;
            for (const KRN::DemoTileNode& n : j.GetTree().GetNodes())
                out.append(py::make_tuple(n.parent, n.children, KRN::DemoTileTree::Name(n), n.count));
            return out;
        }, "The tree's nodes, parents before children: (parent, children, name, features)")
        .def("draw_node", [](KRN::DemoTileJob& j, int index, const std::vector<py::bytes>& children) {
            const std::vector<std::string> texts = Texts(children);
            std::string result;
            Run([&](std::string& e) { return j.DrawNode(index, texts, result, e); });
            return py::bytes(result);
        }, py::arg("index"), py::arg("children"),
           "Draws a node from its children's results (in the node's order of children); answers its own result")
        .def("finish", [](const KRN::DemoTileJob& j, const std::vector<py::bytes>& results) {
            const std::vector<std::string> texts = Texts(results);
            Run([&](std::string& e) { return j.Finish(texts, e); });
        }, py::arg("results"), "Writes the theme's document and then the tileset document");
}

} // namespace t3dpy
