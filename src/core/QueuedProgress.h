#pragma once

#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>

namespace tessoly {

// Progress words sent from a worker thread, handed to `apply` on the
// receiver's thread in the order they were sent; dropped once the receiver
// is gone.
inline std::function<void(const QString &)> queuedProgress(QObject *receiver, std::function<void(const QString &)> apply)
{
    QPointer<QObject> guard(receiver);
    return [guard, apply = std::move(apply)](const QString &text) {
        QMetaObject::invokeMethod(guard.data(), [guard, apply, text] {
            if (guard)
                apply(text);
        }, Qt::QueuedConnection);
    };
}

} // namespace tessoly
