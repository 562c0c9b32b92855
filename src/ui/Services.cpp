#include "ui/Services.h"

#include "core/ByteFormat.h"

#include <QDirIterator>
#include <QFontDatabase>
#include <QQmlEngine>

namespace tessoly {
namespace {
QPointer<Services> g_instance;
}

Services::Services(TessolyApp &app)
    : QObject(&app)
    , m_app(&app)
{
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

void registerBundledFonts()
{
    QDirIterator fonts(QStringLiteral(":/fonts"));
    while (fonts.hasNext())
        QFontDatabase::addApplicationFont(fonts.next());
}

} // namespace tessoly
