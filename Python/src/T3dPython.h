#pragma once
// What every binding area of the Python module shares: text conversion, the module's error,
// the plug-in's factory and the log records written during a call.
#include <cstddef>
#include <stdexcept>
#include <string>

#include <pybind11/pybind11.h>

#include "BsxUnicodeString.h"
#include "KrTheme3DFactory.h"

namespace t3dpy {

// Raised as t3d.Error (a RuntimeError) with the module's own words
struct Error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Python text (UTF-8) to the host's text and back
inline BSX::BsxUnicodeString Wide(const std::string& text) { return BSX::BsxUnicodeString::FromUtf8(text); }
inline std::string Utf8(const BSX::BsxUnicodeString& text) { return text.ToUtf8(); }

// A theme kind by name ("unique", "range", "label", "graph", "custom") or type code
int KindCode(const pybind11::handle& kind);

// The factory of the plug-in, loaded on first use with dlopen from the file this module was
// linked against (as a host loads it); Error when the file or its entry point is missing
KRN::KrTheme3DFactory& Factory();
// The plug-in file the factory came from
const std::string& PluginPath();

// Marks the end of the log when made; Messages() joins the records written since then, so an
// error can say what the module said while it failed
class LogMark {
public:
    LogMark();
    std::string Messages() const;
    // Error with what, followed by the module's messages since the mark
    [[noreturn]] void Fail(const std::string& what) const;

private:
    std::size_t m_start;
};

} // namespace t3dpy
