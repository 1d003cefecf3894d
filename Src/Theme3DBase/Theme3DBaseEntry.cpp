// The plug-in's plain exports, and what loading the library does.
#include <csignal>

#include "KrLogFile.h"
#include "KrTheme3DBaseFactory.h"
#include "Theme3DBaseVersion.h"

namespace {

// Loading creates no theme and no factory; it only makes the host log dump itself on the
// fatal and interrupt signals, in this order, for the signals this platform has.
struct InstallLogDump {
    InstallLogDump()
    {
        std::signal(SIGINT, KRN::KrLogFile::Dump);
        std::signal(SIGILL, KRN::KrLogFile::Dump);
        std::signal(SIGFPE, KRN::KrLogFile::Dump);
        std::signal(SIGSEGV, KRN::KrLogFile::Dump);
        std::signal(SIGTERM, KRN::KrLogFile::Dump);
#ifdef SIGBREAK
        std::signal(SIGBREAK, KRN::KrLogFile::Dump);
#endif
        std::signal(SIGABRT, KRN::KrLogFile::Dump);
        // Shared objects here get no per-thread attach or detach calls, so there is nothing to
        // switch off for threads.
    }
};
const InstallLogDump installLogDump;

} // namespace

// A new, independent factory owned by the caller
extern "C" TR_THEME3D_API KRN::KrTheme3DFactory* CreateTheme3DFactory()
{
    return new KRN::KrTheme3DBaseFactory();
}

// The version the build configured, so a host can tell which file it loaded
extern "C" TR_THEME3D_API const char* TrTheme3DBaseVersion()
{
    return TR_THEME3D_VERSION;
}
