#include "player/mpv/mpv_library.h"

#include <optional>

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

std::optional<MpvLibrary> loadLibrary()
{
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
