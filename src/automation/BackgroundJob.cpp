#include "automation/BackgroundJob.h"

#include "platform/DefaultsStore.h"

#include <QTimer>
#include <cmath>

namespace tessoly {

std::optional<QDateTime> loadRunTime(const platform::DefaultsStore &defaults, const char *key)
{
    const std::optional<QVariant> value = defaults.object(QString::fromLatin1(key));
    if (!value)
        return std::nullopt;
    bool ok = false;
    const double seconds = value->toDouble(&ok);
    if (!ok || !std::isfinite(seconds) || seconds <= 0)
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(seconds * 1000), Qt::UTC);
}

void storeRunTime(platform::DefaultsStore &defaults, const char *key, const QDateTime &when)
{
    (void)defaults.set(QString::fromLatin1(key), double(when.toMSecsSinceEpoch()) / 1000.0);
}

void armChecks(QObject *owner, QTimer *&timer, int seconds, const std::function<void()> &check)
{
    delete timer;
    timer = new QTimer(owner);
    timer->setInterval(seconds * 1000);
    QObject::connect(timer, &QTimer::timeout, owner, check);
    timer->start();
    QTimer::singleShot(0, owner, check);
}

} // namespace tessoly
