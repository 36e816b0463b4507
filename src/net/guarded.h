#pragma once

#include <utility>

#include <QObject>
#include <QPointer>

// Wraps a callback of a reply that may arrive after the object it talks to is gone: once `context`
// is destroyed, calling the result does nothing. Call it on the context's thread.
template <class Callback>
auto guarded(QObject *context, Callback callback)
{
    return [alive = QPointer<QObject>(context),
            callback = std::move(callback)](auto &&...arguments) mutable {
        if (alive)
            callback(std::forward<decltype(arguments)>(arguments)...);
    };
}
