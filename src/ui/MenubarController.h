#pragma once

#include <QObject>
#include <QPointer>

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
    explicit MenubarController(TessolyApp &app, QObject *parent = nullptr);
    ~MenubarController() override;

    [[nodiscard]] bool isShown() const;
    void setVisible(bool visible);
    void updateButton();

private:
    void rebuildMenu();
    void openApp();

    TessolyApp &m_app;
    QSystemTrayIcon *m_item = nullptr;
    QMenu *m_menu = nullptr;
    QTimer *m_refreshTimer = nullptr;
};

} // namespace tessoly
