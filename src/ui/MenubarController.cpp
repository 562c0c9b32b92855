#include "ui/MenubarController.h"

#include "analysis/DiskScanner.h"
#include "application/TessolyApp.h"
#include "automation/StatusMenu.h"
#include "automation/StorageAutopilot.h"
#include "cleaning/MaintenanceService.h"
#include "core/SettingsStore.h"

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>
#include <QTimer>

namespace tessoly {
namespace {

// A drive drawn in the accent colour, or in the caution colour with a warning mark.
QIcon statusIcon(const QString &symbol)
{
    const bool warning = symbol != QLatin1String("internaldrive");
    QPixmap pixmap(44, 44);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(warning ? "#F59E0B" : "#6366F1"));
    painter.drawRoundedRect(QRectF(4, 10, 36, 24), 6, 6);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(32, 22), 3, 3);
    if (warning) {
        painter.setPen(QPen(Qt::white, 4, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(16, 16), QPointF(16, 23));
        painter.drawPoint(QPointF(16, 29));
    }
    return QIcon(pixmap);
}

StatusFigures figuresOf(TessolyApp &app, bool withPurgeable)
{
    StatusFigures figures;
    figures.freeBytes = app.scanner()->totalFree();
    figures.capacityBytes = app.scanner()->totalCapacity();
    figures.autopilotEnabled = app.settings()->autopilotEnabled();
    figures.autopilotMinFreeGB = app.settings()->autopilotMinFreeGB();
    figures.autopilotStatusLine = app.autopilot()->statusLine();
    if (withPurgeable)
        figures.purgeableBytes = app.maintenance()->purgeableBytesAtHome();
    return figures;
}

} // namespace

MenubarController::MenubarController(TessolyApp &app, std::function<void()> openWindow, QObject *parent)
    : QObject(parent)
    , m_app(app)
    , m_openWindow(std::move(openWindow))
{
    connect(app.settings(), &SettingsStore::showMenubarIconChanged, this,
            [this] { setVisible(m_app.settings()->showMenubarIcon()); });
    setVisible(app.settings()->showMenubarIcon());
    m_refreshTimer = new QTimer(this);
    m_refreshTimer->setInterval(60000);
    connect(m_refreshTimer, &QTimer::timeout, this, &MenubarController::updateButton);
    m_refreshTimer->start();
}

MenubarController::~MenubarController()
{
    setVisible(false);
}

bool MenubarController::isShown() const
{
    return m_item != nullptr;
}

void MenubarController::setVisible(bool visible)
{
    const bool wasShown = m_item != nullptr;
    if (visible && m_item == nullptr && QSystemTrayIcon::isSystemTrayAvailable()) {
        m_menu = new QMenu();
        connect(m_menu, &QMenu::aboutToShow, this, &MenubarController::rebuildMenu);
        m_item = new QSystemTrayIcon(this);
        m_item->setContextMenu(m_menu);
        connect(m_item, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger)
                m_openWindow();
        });
        updateButton();
        m_item->show();
    } else if (!visible && m_item != nullptr) {
        m_item->hide();
        delete m_item;
        m_item = nullptr;
        delete m_menu;
        m_menu = nullptr;
    }
    // With the item shown, closing the window leaves the program running.
    QApplication::setQuitOnLastWindowClosed(m_item == nullptr);
    if (wasShown != (m_item != nullptr))
        emit shownChanged(m_item != nullptr);
}

void MenubarController::updateButton()
{
    if (m_item == nullptr)
        return;
    m_app.scanner()->refreshVolumeInfo();
    const StatusFigures figures = figuresOf(m_app, false);
    m_item->setIcon(statusIcon(StatusMenu::symbol(figures)));
    m_item->setToolTip(QStringLiteral("%1 —%2 free").arg(QLatin1String(StatusMenu::accessibleName), StatusMenu::title(figures)));
}

void MenubarController::rebuildMenu()
{
    m_menu->clear();
    for (const StatusMenuRow &row : StatusMenu::rows(figuresOf(m_app, true))) {
        if (row.separator) {
            m_menu->addSeparator();
            continue;
        }
        QAction *action = m_menu->addAction(row.title);
        action->setEnabled(row.enabled);
        if (!row.key.isEmpty())
            action->setShortcut(QKeySequence(QStringLiteral("Ctrl+") + row.key.toUpper()));
        switch (row.action) {
        case StatusMenuRow::Action::OpenApp: connect(action, &QAction::triggered, this, [this] { m_openWindow(); }); break;
        case StatusMenuRow::Action::RunAutopilot:
            connect(action, &QAction::triggered, this, [this] {
                if (!m_app.autopilot()->isRunning())
                    m_app.autopilot()->runGuardrail().then([this] { updateButton(); });
            });
            break;
        case StatusMenuRow::Action::ReclaimPurgeable:
            connect(action, &QAction::triggered, this, [this] {
                m_app.maintenance()->reclaim().then([this] { updateButton(); });
            });
            break;
        case StatusMenuRow::Action::Quit: connect(action, &QAction::triggered, qApp, &QCoreApplication::quit); break;
        case StatusMenuRow::Action::None: break;
        }
    }
}

} // namespace tessoly
