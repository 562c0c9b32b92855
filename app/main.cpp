// The tessoly executable: the window without arguments, the command line with them.
#include "WindowHost.h"
#include "ui/MenubarController.h"
#include "ui/Services.h"
#include "cli/CommandLine.h"
#include "application/TessolyApp.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxPlatform.h"

#include <QApplication>
#include <QCoreApplication>
#include <QIcon>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTimer>
#include <unistd.h>

Q_IMPORT_QML_PLUGIN(TessolyPlugin)

namespace {

int runCommandLine(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Tessoly"));
    tessoly::TessolyApp app(tessoly::platform::makeLinuxPlatform());
    QTextStream out(stdout);
    QTextStream err(stderr);
    tessoly::CommandLine commandLine(app, out, err, ::isatty(STDERR_FILENO) == 1);
    // Start once the event loop runs, so that a command finishing at once can still end it.
    int code = 0;
    QTimer::singleShot(0, &application, [&] {
        commandLine.run(QCoreApplication::arguments().mid(1)).then([&](int result) {
            code = result;
            QCoreApplication::exit(result);
        });
    });
    QCoreApplication::exec();
    return code;
}

int runWindow(int argc, char **argv)
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

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1)
        return runCommandLine(argc, argv);
    return runWindow(argc, argv);
}
