// The tessoly command: the command line when given a command, otherwise the
// window, which is a program of its own (tessoly-window) so that commands
// start without the graphical libraries.
#include "cli/CommandLine.h"
#include "application/TessolyApp.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxPlatform.h"

#include <QCoreApplication>
#include <QTimer>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc <= 1) {
        const std::filesystem::path window = tessoly::platform::helperProgram("tessoly-window");
        ::execv(window.c_str(), argv);
        std::fprintf(stderr, "tessoly: the window (%s) couldn't start: %s\n", window.c_str(), std::strerror(errno));
        return 1;
    }
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
