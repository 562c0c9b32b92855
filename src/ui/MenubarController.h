#pragma once

#include <QObject>
#include <QPointer>
#include <functional>

class QMenu;
class QSystemTrayIcon;
class QTimer;

namespace tessoly {
class TessolyApp;

// The status item: the disk's free space in the desktop's tray, with a menu
// of the guardrail's state and quick actions. Shown while the setting asks
// for it and the desktop has a tray; while it is shown, closing the window
// keeps the program (and its background jobs) running.
class MenubarController : public QObject {
    Q_OBJECT

public:
    // openWindow brings the window up ("Open Tessoly"), building it if it was let go.
    MenubarController(TessolyApp &app, std::function<void()> openWindow, QObject *parent = nullptr);
    ~MenubarController() override;

    [[nodiscard]] bool isShown() const;
    void setVisible(bool visible);
    void updateButton();

signals:
    // The item appeared in the tray or left it.
    void shownChanged(bool shown);

private:
    void rebuildMenu();

    TessolyApp &m_app;
    std::function<void()> m_openWindow;
    QSystemTrayIcon *m_item = nullptr;
    QMenu *m_menu = nullptr;
    QTimer *m_refreshTimer = nullptr;
};

} // namespace tessoly
