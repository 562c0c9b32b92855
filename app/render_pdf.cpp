// tessoly-render-pdf <document.html> <out.pdf>: lays the document out off
// screen, 800 CSS pixels wide and at least 1100 high, and prints it to a PDF
// of one page tall enough for all of it. Exit 0 when the PDF was written;
// otherwise the last line on stderr says why.
#include <QFile>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPageLayout>
#include <QPageSize>
#include <QTimer>
#include <QUrl>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <QWebEngineSettings>
#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int layoutWidth = 800;
constexpr int minimumHeight = 1100;
constexpr double pointsPerPixel = 72.0 / 96.0;

// The engine's chatter is kept and shown only when printing fails.
QByteArray g_log;
void keepMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    g_log += message.toLocal8Bit() + '\n';
}

int fail(const char *why)
{
    std::fputs(g_log.constData(), stderr);
    std::fprintf(stderr, "%s\n", why);
    std::fflush(stderr);
    std::_Exit(1); // the engine's threads are not torn down for a failure
}

// The document's height when laid out at the fixed width.
const char *const measureScript = R"JS(
(function () {
  var root = document.documentElement;
  var width = root.style.width;
  root.style.width = '800px';
  var height = Math.ceil(Math.max(root.scrollHeight, root.getBoundingClientRect().height));
  root.style.width = width;
  return height;
})()
)JS";

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: tessoly-render-pdf <document.html> <out.pdf>\n");
        return 2;
    }
    // Nothing is ever shown; the engine's sandbox can't run as root.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (::geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    qInstallMessageHandler(keepMessage);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication application(argc, argv);
    const QString documentPath = QString::fromLocal8Bit(argv[1]);
    const QString pdfPath = QString::fromLocal8Bit(argv[2]);
    if (!QFile::exists(documentPath))
        return fail("the document to print doesn't exist.");

    QWebEnginePage page;
    // The document is ours and has no scripts; none of its own may run.
    page.settings()->setAttribute(QWebEngineSettings::JavascriptEnabled, false);
    page.settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, false);

    QTimer::singleShot(std::chrono::seconds(60), &application, [] { fail("the page didn't print within 60 seconds."); });
    QObject::connect(&page, &QWebEnginePage::loadFinished, &application, [&](bool loaded) {
        if (!loaded)
            fail("the document didn't load.");
        // A moment for the layout to settle, as a view does before printing.
        QTimer::singleShot(250, &application, [&] {
            page.runJavaScript(QString::fromLatin1(measureScript), QWebEngineScript::ApplicationWorld, [&](const QVariant &measured) {
                const int height = std::max(minimumHeight, measured.toInt() + 2);
                const QPageSize size(QSizeF(layoutWidth * pointsPerPixel, height * pointsPerPixel), QPageSize::Point,
                                     QStringLiteral("Tessoly report"), QPageSize::ExactMatch);
                const QPageLayout layout(size, QPageLayout::Portrait, QMarginsF(0, 0, 0, 0), QPageLayout::Point);
                page.printToPdf(
                    [&](const QByteArray &pdf) {
                        if (pdf.isEmpty())
                            fail("printing produced no PDF.");
                        QFile out(pdfPath);
                        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate) || out.write(pdf) != pdf.size()
                            || !out.flush())
                            fail("the PDF couldn't be written.");
                        out.close();
                        // Done: the engine's teardown would only add time.
                        std::_Exit(out.error() == QFileDevice::NoError ? 0 : 1);
                    },
                    layout);
            });
        });
    });
    page.load(QUrl::fromLocalFile(documentPath));
    return QGuiApplication::exec();
}
