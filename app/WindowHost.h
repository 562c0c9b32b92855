#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

class QQmlApplicationEngine;
class QQuickWindow;

namespace tessoly {

// The one window and the QML engine behind it. Closing the window while the
// tray item keeps the program running lets the engine go, so the background
// process holds only the services; "Open Tessoly" builds the window again.
class WindowHost : public QObject {
    Q_OBJECT

public:
    explicit WindowHost(QObject *parent = nullptr);
    ~WindowHost() override;

    // Shows the window, building it first when it isn't there. False when the
    // QML couldn't be loaded.
    bool show();
    [[nodiscard]] bool isOpen() const { return m_engine != nullptr; }

    // The tray item came or went: without it and without a window, nothing
    // is left to reach the program, so it quits.
    void trayShown(bool shown);

private:
    void windowClosed();

    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QPointer<QQuickWindow> m_window;
    bool m_trayShown = false;
};

} // namespace tessoly
