// A notification service for tests: owns org.freedesktop.Notifications on
// the bus at argv[1] and writes each notification it receives as one JSON
// line to argv[2].
#include <QCoreApplication>
#include <QDBusConnection>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariantMap>
#include <cstdio>

class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit FakeNotifications(QString log)
        : m_log(std::move(log))
    {
    }

public slots:
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion)
    {
        vendor = QStringLiteral("tests");
        version = QStringLiteral("1");
        specVersion = QStringLiteral("1.2");
        return QStringLiteral("fake");
    }
    uint Notify(const QString &appName, uint, const QString &appIcon, const QString &summary, const QString &body,
                const QStringList &, const QVariantMap &hints, int)
    {
        QFile file(m_log);
        if (file.open(QIODevice::Append)) {
            const QJsonObject line{{"app", appName}, {"icon", appIcon}, {"title", summary}, {"body", body},
                                   {"id", hints.value("x-tessoly-identifier").toString()},
                                   {"entry", hints.value("desktop-entry").toString()}};
            file.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + "\n");
        }
        return ++m_count;
    }

private:
    QString m_log;
    uint m_count = 0;
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 3)
        return 2;
    QDBusConnection bus = QDBusConnection::connectToBus(QString::fromLocal8Bit(argv[1]), QStringLiteral("fake"));
    FakeNotifications service(QString::fromLocal8Bit(argv[2]));
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &service, QDBusConnection::ExportAllSlots)
        || !bus.registerService(QStringLiteral("org.freedesktop.Notifications"))) {
        std::fprintf(stderr, "couldn't own the notification service\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return app.exec();
}

#include "fake_notifications.moc"
