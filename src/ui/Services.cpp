#include "ui/Services.h"

#include "core/AppInfo.h"
#include "core/ByteFormat.h"
#include "core/RelativeTime.h"

#include <QDirIterator>
#include <QFontDatabase>
#include <QQmlEngine>
#include <algorithm>

namespace tessoly {
namespace {
QPointer<Services> g_instance;
}

Services::Services(TessolyApp &app)
    : QObject(&app)
    , m_app(&app)
    , m_prompter(new DialogPrompter(this))
    , m_profiles(new ProfilesModel(*app.cleanup(), this))
{
    app.setPrompter(m_prompter);
}

Services::~Services()
{
    if (m_app)
        m_app->setPrompter(nullptr);
}

Services *Services::install(TessolyApp &app)
{
    g_instance = new Services(app);
    return g_instance;
}

Services *Services::create(QQmlEngine *, QJSEngine *)
{
    Q_ASSERT_X(g_instance, "Services::create", "Services::install must run before QML is loaded");
    QQmlEngine::setObjectOwnership(g_instance, QQmlEngine::CppOwnership);
    return g_instance;
}

QString Services::version()
{
    return QStringLiteral("%1 (%2)").arg(appinfo::version(), appinfo::build());
}

QString Services::makerName()
{
    return QString::fromLatin1(appinfo::makerName);
}

QString Services::makerLink()
{
    return QString::fromLatin1(appinfo::makerLink);
}

QString Services::supportMail()
{
    return QString::fromLatin1(appinfo::supportMail);
}

QString Format::bytes(qint64 bytes)
{
    return formatBytes(bytes);
}

QString Format::sizeNumber(qint64 bytes)
{
    return splitFormattedSize(formatBytes(bytes)).number;
}

QString Format::sizeUnit(qint64 bytes)
{
    return splitFormattedSize(formatBytes(bytes)).unit;
}

QString Format::relativeTime(const QDateTime &when)
{
    return formatRelativeTime(when, QDateTime::currentDateTimeUtc());
}

QString Format::timeSince(const QDateTime &when)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    return formatRelativeTime(std::min(when, now.addSecs(-1)), now);
}

QVariantList Catalogue::profiles()
{
    QVariantList list;
    for (const CleanupProfile profile : allCleanupProfiles) {
        list.append(QVariantMap{{QStringLiteral("id"), rawValue(profile)},
                                {QStringLiteral("displayName"), displayName(profile)},
                                {QStringLiteral("tagline"), tagline(profile)},
                                {QStringLiteral("icon"), iconName(profile)},
                                {QStringLiteral("tint"), tintName(profile)}});
    }
    return list;
}

QVariantList Catalogue::targets(const QString &profileId)
{
    QVariantList list;
    const auto profile = cleanupProfileFromRaw(profileId);
    if (!profile)
        return list;
    for (const CleanupTarget &target : tessoly::targets(*profile)) {
        list.append(QVariantMap{{QStringLiteral("id"), target.id},
                                {QStringLiteral("name"), target.name},
                                {QStringLiteral("description"), target.description},
                                {QStringLiteral("icon"), target.icon},
                                {QStringLiteral("safety"), label(target.safety)},
                                {QStringLiteral("safetyTint"), tintName(target.safety)}});
    }
    return list;
}

void prepareEngine(QQmlEngine &engine)
{
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
}

void registerBundledFonts()
{
    QDirIterator fonts(QStringLiteral(":/fonts"));
    while (fonts.hasNext())
        QFontDatabase::addApplicationFont(fonts.next());
}

} // namespace tessoly
