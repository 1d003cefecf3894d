// The classifiers and the mergeable accumulators they can work from. The accumulators pickle as
// their own byte strings, so that Dask and multiprocessing move them between processes and
// merge them anywhere.
#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "KrClassStatistics.h"
#include "KrClassifier.h"
#include "KrQuantileSketch.h"
#include "T3dPython.h"

namespace py = pybind11;
using namespace KRN;

namespace t3dpy {
namespace {

using Numbers = py::array_t<double, py::array::c_style | py::array::forcecast>;

// Adds every number of an array or sequence (None is no data) without holding the interpreter
template <class Accumulator>
void AddMany(Accumulator& acc, const py::handle& values)
{
    if (!py::isinstance<py::array>(values)) {
        for (const py::handle& v : values) {
            if (v.is_none()) acc.AddNoData();
            else acc.Add(v.cast<double>());
        }
        return;
    }
    const Numbers array = Numbers::ensure(values);
    if (!array) throw Error("the values are not numbers");
    const double* data = array.data();
    const py::ssize_t n = array.size();
    py::gil_scoped_release unlocked;
    for (py::ssize_t i = 0; i < n; ++i) acc.Add(data[i]);
}

template <class Accumulator>
py::bytes Bytes(const Accumulator& acc)
{
    return py::bytes(acc.ToBytes());
}

template <class Accumulator>
Accumulator FromBytes(const py::bytes& bytes)
{
    Accumulator acc;
    if (!acc.FromBytes(bytes.cast<std::string>())) throw Error("the bytes are not a serialised accumulator of this kind");
    return acc;
}

// Accumulators of one kind with the same state write the same bytes: compare those
template <class Accumulator>
bool Same(const Accumulator& a, const Accumulator& b)
{
    return a.ToBytes() == b.ToBytes();
}

KrClassMethod Method(const py::handle& method)
{
    KrClassMethod out{};
    const std::string text = py::str(method);
    if (!KrClassifier::MethodFromName(text, out)) throw Error("unknown classification method '" + text + "'");
    return out;
}

KrClassification Classify(const KrClassifier& c, const py::handle& method, int count)
{
    if (count < 1) throw Error("the class count must be at least 1");
    switch (Method(method)) {
    case KrClassMethod::Natural: return c.Natural(count);
    case KrClassMethod::Pretty: return c.Pretty(count);
    case KrClassMethod::Geometric: return c.Geometric(count);
    case KrClassMethod::HeadTail: return c.HeadTail(count);
    case KrClassMethod::Calendar: return c.Calendar(count);
    case KrClassMethod::Quantile: return c.Quantile(count);
    default:
        throw Error("the method '" + std::string(py::str(method)) +
                    "' is one of the range theme's own: classify with RangeTheme.make_default");
    }
}

} // namespace

void BindClassify(py::module_& m)
{
    py::class_<KrClassStatistics>(m, "ClassStatistics",
                                  "Exact running statistics of a numeric field, mergeable across parts of the data")
        .def(py::init<>())
        .def("add", &KrClassStatistics::Add, py::arg("value"))
        .def("add_many", &AddMany<KrClassStatistics>, py::arg("values"), "Adds every value (None counts as no data)")
        .def("add_no_data", &KrClassStatistics::AddNoData, py::arg("count") = 1)
        .def("merge", &KrClassStatistics::Merge, py::arg("other"))
        .def_property_readonly("count", &KrClassStatistics::GetCount)
        .def_property_readonly("no_data", &KrClassStatistics::GetNoDataCount)
        .def_property_readonly("min", &KrClassStatistics::GetMin)
        .def_property_readonly("max", &KrClassStatistics::GetMax)
        .def_property_readonly("mean", &KrClassStatistics::GetMean)
        .def_property_readonly("variance", &KrClassStatistics::GetVariance)
        .def_property_readonly("stdev", &KrClassStatistics::GetStdev)
        .def("to_bytes", &Bytes<KrClassStatistics>)
        .def_static("from_bytes", &FromBytes<KrClassStatistics>, py::arg("data"))
        .def("__eq__", &Same<KrClassStatistics>)
        .def(py::pickle(&Bytes<KrClassStatistics>, &FromBytes<KrClassStatistics>));

    py::class_<KrQuantileSketch>(m, "QuantileSketch",
                                 "Mergeable quantile sketch: ranks and quantiles within a rank error of about 0.5 %")
        .def(py::init<int, std::uint64_t>(), py::arg("k") = KrQuantileSketch::kDefaultK,
             py::arg("seed") = 0x9E3779B97F4A7C15ULL)
        .def("add", &KrQuantileSketch::Add, py::arg("value"))
        .def("add_many", &AddMany<KrQuantileSketch>, py::arg("values"), "Adds every value (None counts as no data)")
        .def("add_no_data", &KrQuantileSketch::AddNoData, py::arg("count") = 1)
        .def("merge", &KrQuantileSketch::Merge, py::arg("other"))
        .def_property_readonly("count", &KrQuantileSketch::GetCount)
        .def_property_readonly("no_data", &KrQuantileSketch::GetNoDataCount)
        .def_property_readonly("min", &KrQuantileSketch::GetMin)
        .def_property_readonly("max", &KrQuantileSketch::GetMax)
        .def_property_readonly("retained", &KrQuantileSketch::GetRetained)
        .def("rank", &KrQuantileSketch::GetRank, py::arg("value"), "Estimated number of values below value")
        .def("quantile", &KrQuantileSketch::GetQuantile, py::arg("q"), "A retained value at normalised rank q")
        .def("to_bytes", &Bytes<KrQuantileSketch>)
        .def_static("from_bytes", &FromBytes<KrQuantileSketch>, py::arg("data"))
        .def("__eq__", &Same<KrQuantileSketch>)
        .def(py::pickle(&Bytes<KrQuantileSketch>, &FromBytes<KrQuantileSketch>));

    py::class_<KrClassification>(m, "Classification", "Breaks with the statistics of their classes and the fit")
        .def_property_readonly("method", [](const KrClassification& c) { return KrClassifier::MethodName(c.method); })
        .def_readonly("breaks", &KrClassification::breaks)
        .def_property_readonly("classes", [](const KrClassification& c) {
            std::vector<py::tuple> out;
            for (const KrClassSummary& s : c.classes) out.push_back(py::make_tuple(s.count, s.min, s.max, s.mean));
            return out;
        }, "(count, min, max, mean) of each class")
        .def_readonly("gvf", &KrClassification::gvf, "Goodness of variance fit")
        .def_readonly("count", &KrClassification::count)
        .def_readonly("no_data", &KrClassification::noData)
        .def_readonly("step", &KrClassification::step)
        .def_readonly("approximate", &KrClassification::approximate);

    py::class_<KrClassifier>(m, "Classifier", "Classifications of a field's values beyond the range theme's own")
        .def(py::init<const KrQuantileSketch&>(), py::arg("sketch"),
             "Works on the sketch's weighted values: breaks within its rank error")
        .def(py::init([](const py::handle& values, std::int64_t hostNulls) {
            std::vector<double> numbers;
            if (py::isinstance<py::array>(values)) {
                const Numbers a = Numbers::ensure(values);
                if (!a) throw Error("the values are not numbers");
                numbers.assign(a.data(), a.data() + a.size());
            } else {
                for (const py::handle& v : values) {
                    if (v.is_none()) ++hostNulls;
                    else numbers.push_back(v.cast<double>());
                }
            }
            return KrClassifier(numbers, hostNulls);
        }), py::arg("values"), py::arg("host_nulls") = 0, "Values in any order; None counts as no data")
        .def_property_readonly("count", &KrClassifier::GetCount)
        .def_property_readonly("no_data", &KrClassifier::GetNoDataCount)
        .def("classify", &Classify, py::arg("method"), py::arg("count"),
             "natural, pretty, geometric, headtail, calendar or quantile (or their codes 4, 6 to 10)")
        .def("describe", [](const KrClassifier& c, const py::handle& method, const std::vector<double>& breaks) {
            return c.Describe(Method(method), breaks);
        }, py::arg("method"), py::arg("breaks"), "Classes and fit of any ascending breaks");

    m.def("method_names", [] {
        std::vector<std::string> out;
        for (int code = 0; code <= static_cast<int>(KrClassMethod::Calendar); ++code)
            out.push_back(KrClassifier::MethodName(static_cast<KrClassMethod>(code)));
        return out;
    }, "The classification methods by code (0 to 10)");
}

} // namespace t3dpy
