#include "player/mpv/mpv_library.h"

#include <optional>

#include <malloc.h>

#include <QDebug>
#include <QLibrary>

namespace {

template <class Function>
bool resolve(QLibrary &library, const char *name, Function &function)
{
    function = reinterpret_cast<Function>(library.resolve(name));
    if (!function) {
        qWarning() << "libmpv lacks" << name;
    }
    return function != nullptr;
}

// libmpv's many threads come and go with each file. With an arena of glibc's for each of them, what
// they free stays scattered: 100 windows cost 120 MB more than with one.
void shareArenas()
{
#ifdef M_ARENA_MAX
    mallopt(M_ARENA_MAX, 1);
#endif
}

std::optional<MpvLibrary> loadLibrary()
{
    shareArenas();
    QLibrary library(QStringLiteral("mpv"), 2);
    library.setLoadHints(QLibrary::PreventUnloadHint);
    if (!library.load()) {
        qWarning().noquote() << "libmpv cannot be loaded:" << library.errorString();
        return std::nullopt;
    }
    MpvLibrary functions;
    bool complete = true;
#define MORAVU_MPV_RESOLVE(name) complete &= resolve(library, "mpv_" #name, functions.name);
    MORAVU_MPV_FUNCTIONS(MORAVU_MPV_RESOLVE)
#undef MORAVU_MPV_RESOLVE
    return complete ? std::make_optional(functions) : std::nullopt;
}

} // namespace

const MpvLibrary *mpvLibrary()
{
    static const std::optional<MpvLibrary> library = loadLibrary();
    return library ? &*library : nullptr;
}
