#include "WindowHost.h"

#include "ui/Services.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>
#include <malloc.h>

namespace tessoly {

WindowHost::WindowHost(QObject *parent)
    : QObject(parent)
{
}

WindowHost::~WindowHost() = default;

bool WindowHost::show()
{
    if (m_engine) {
        if (m_window) {
            m_window->show();
            m_window->raise();
            m_window->requestActivate();
        }
        return true;
    }
    m_engine = std::make_unique<QQmlApplicationEngine>();
    prepareEngine(*m_engine);
    m_engine->load(QUrl(QStringLiteral("qrc:/qt/qml/Tessoly/Main.qml")));
    const QList<QObject *> roots = m_engine->rootObjects();
    m_window = roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(roots.constFirst());
    if (!m_window) {
        m_engine.reset();
        return false;
    }
    connect(m_window, &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            windowClosed();
    });
    return true;
}

void WindowHost::windowClosed()
{
    // Without the tray, closing the window ends the program (Qt quits by itself).
    if (!m_trayShown)
        return;
    // Let the window finish closing before its engine goes.
    QTimer::singleShot(0, this, [this] {
        if (m_window && m_window->isVisible())
            return;
        m_engine.reset();
        // Give the screens' memory back to the system, not just to the allocator.
        ::malloc_trim(0);
    });
}

void WindowHost::trayShown(bool shown)
{
    m_trayShown = shown;
    if (!shown && !m_engine)
        QCoreApplication::quit();
}

} // namespace tessoly
