#include "platform/linux/FreedesktopNotifier.h"

#include <QCoroDBusPendingCall>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVariantMap>

namespace tessoly::platform {
namespace {

constexpr const char *kService = "org.freedesktop.Notifications";
constexpr const char *kPath = "/org/freedesktop/Notifications";
constexpr const char *kInterface = "org.freedesktop.Notifications";

QDBusMessage callOf(const char *method)
{
    return QDBusMessage::createMethodCall(QString::fromLatin1(kService), QString::fromLatin1(kPath),
                                          QString::fromLatin1(kInterface), QString::fromLatin1(method));
}

} // namespace

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection bus)
    : m_bus(std::move(bus))
{
}

QDBusConnection &FreedesktopNotifier::bus()
{
    if (!m_bus)
        m_bus = QDBusConnection::sessionBus();
    return *m_bus;
}

QCoro::Task<bool> FreedesktopNotifier::isAuthorized()
{
    if (!bus().isConnected())
        co_return false;
    QDBusPendingCall call = bus().asyncCall(callOf("GetServerInformation"), answerLimitMs);
    const QDBusMessage reply = co_await call;
    co_return reply.type() == QDBusMessage::ReplyMessage;
}

void FreedesktopNotifier::post(const Notification &notification)
{
    if (!bus().isConnected())
        return;
    QDBusMessage message = callOf("Notify");
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("tessoly")},
                            {QStringLiteral("x-tessoly-identifier"), notification.identifier}};
    message << QStringLiteral("Tessoly") << 0u << QStringLiteral("tessoly") << notification.title << notification.body
            << QStringList() << hints << -1;
    (void)bus().asyncCall(message, answerLimitMs);
}

} // namespace tessoly::platform
