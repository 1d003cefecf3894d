// The plug-in and its factory, the module's version and its log records.
#include <dlfcn.h>

#include <string>

#include <pybind11/stl.h>

#include "DemoPlugin.h"
#include "KrLogFile.h"
#include "T3dPython.h"
#include "Theme3DBaseVersion.h"

namespace py = pybind11;

namespace t3dpy {
namespace {

struct Loaded {
    KRN::DemoPlugin plugin;
    std::string path;
    std::string error;
};

// Loaded once per process and kept until it ends: themes made by the factory may outlive any
// Python object, and the library must stay while they do
Loaded& TheLoaded()
{
    static Loaded* loaded = [] {
        auto* l = new Loaded;
        // The file that answers our own reference to its version is the plug-in this module
        // was built with, wherever the build or the installation put it
        Dl_info info{};
        if (dladdr(reinterpret_cast<void*>(&TrTheme3DBaseVersion), &info) == 0 || !info.dli_fname) {
            l->error = "cannot tell which file holds the theme plug-in";
            return l;
        }
        l->path = info.dli_fname;
        l->plugin.Load(l->path, l->error);
        return l;
    }();
    return *loaded;
}

py::list LogRecords(bool clear)
{
    KRN::KrLogFile& log = *KRN::KrLogFile::GetInstance(true);
    py::list out;
    for (const KRN::KrLogRecord& r : log.GetRecords())
        out.append(py::make_tuple(r.level, Utf8(r.id), Utf8(r.message), Utf8(r.sourceFile), r.line));
    if (clear) log.ClearRecords();
    return out;
}

} // namespace

KRN::KrTheme3DFactory& Factory()
{
    Loaded& l = TheLoaded();
    if (!l.plugin.GetFactory()) throw Error(l.error);
    return *l.plugin.GetFactory();
}

const std::string& PluginPath()
{
    Factory();
    return TheLoaded().path;
}

LogMark::LogMark() : m_start(KRN::KrLogFile::GetInstance(true)->GetRecords().size()) {}

std::string LogMark::Messages() const
{
    const auto& records = KRN::KrLogFile::GetInstance(true)->GetRecords();
    std::string text;
    // The log may have been cleared since the mark: then every record is new
    for (std::size_t i = m_start <= records.size() ? m_start : 0; i < records.size(); ++i) {
        const KRN::KrLogRecord& r = records[i];
        if (!text.empty()) text += "; ";
        text += Utf8(r.id);
        if (!r.message.IsEmpty()) text += ": " + Utf8(r.message);
    }
    return text;
}

void LogMark::Fail(const std::string& what) const
{
    const std::string said = Messages();
    throw Error(said.empty() ? what : what + " (" + said + ")");
}

void BindPlugin(py::module_& m)
{
    m.def("version", [] { return std::string(TrTheme3DBaseVersion()); },
          "The plug-in's version, as its TrTheme3DBaseVersion() reports it");
    m.def("plugin_path", &PluginPath, "The plug-in file the factory is loaded from");
    m.def("plugin_name", [] { return Utf8(Factory().GetName()); }, "The factory's display name");
    m.def("supported_kinds", [] {
        BSX::BsxArray<int> types;
        Factory().GetSupportTheme3DType(types);
        std::vector<int> out;
        for (int i = 0; i < types.GetSize(); ++i) out.push_back(types[i]);
        return out;
    }, "The type codes the factory creates themes of");
    m.def("log_records", &LogRecords, py::arg("clear") = false,
          "The module's log records so far, oldest first, as (level, id, message, source file, line); "
          "clear forgets them after reading");
}

} // namespace t3dpy
