// tessoly-window: the window, its background jobs and the tray item. The
// `tessoly` command starts it when given no command, so that the command
// line never loads the graphical libraries.
#include "WindowHost.h"
#include "ui/MenubarController.h"
#include "ui/Services.h"
#include "application/TessolyApp.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxPlatform.h"

#include <QApplication>
#include <QIcon>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTimer>

Q_IMPORT_QML_PLUGIN(TessolyPlugin)

int main(int argc, char **argv)
{
    // Without a graphics device Qt Quick's own 2D renderer beats emulated OpenGL.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") && !tessoly::platform::hasGraphicsDevice())
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tessoly"));
    QApplication::setOrganizationDomain(QStringLiteral("tessoly.com"));
    // The installed desktop entry and icon; the bundled mark where it isn't installed.
    QGuiApplication::setDesktopFileName(QStringLiteral("tessoly"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("tessoly"), QIcon(QStringLiteral(":/tessoly/tessoly.svg"))));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    tessoly::registerBundledFonts();

    tessoly::TessolyApp app(tessoly::platform::makeLinuxPlatform());
    app.followSharedFiles();
    app.startAutomation();
    tessoly::Services::install(app);

    tessoly::WindowHost window;
    if (!window.show())
        return 1;
    tessoly::MenubarController statusItem(app, [&window] { window.show(); });
    window.trayShown(statusItem.isShown());
    QObject::connect(&statusItem, &tessoly::MenubarController::shownChanged, &window, &tessoly::WindowHost::trayShown);
    // The window's start task runs once the event loop is up.
    QTimer::singleShot(0, &app, &tessoly::TessolyApp::start);
    return QApplication::exec();
}
