#pragma once

#include <QCoroTask>
#include <QObject>
#include <QString>

namespace tessoly {
class DiskScanner;
class MaintenanceService;
class SmartScanService;

// The one-button clean: a Smart Scan, every safe card with an action that
// is not a move applied in rank order, the snapshots thinned, and then the
// free space measured. It tells what the disk really gained, never what
// the steps claimed. The Easy screen and `tessoly easy-clean` both run it.
class EasyCleanFlow : public QObject {
    Q_OBJECT
    // "idle", "running" or "done"
    Q_PROPERTY(QString phase READ phaseName NOTIFY phaseChanged)
    Q_PROPERTY(QString step READ step NOTIFY phaseChanged)
    Q_PROPERTY(qint64 freedNow READ freedNow NOTIFY phaseChanged)
    Q_PROPERTY(qint64 inTrash READ inTrash NOTIFY phaseChanged)

public:
    enum class Phase { Idle, Running, Done };

    EasyCleanFlow(DiskScanner &scanner, SmartScanService &smartScan, MaintenanceService &maintenance,
                  QObject *parent = nullptr);

    [[nodiscard]] Phase phase() const { return m_phase; }
    [[nodiscard]] QString phaseName() const;
    [[nodiscard]] QString step() const { return m_step; }
    [[nodiscard]] qint64 freedNow() const { return m_freedNow; }
    [[nodiscard]] qint64 inTrash() const { return m_inTrash; }

    // The button ("Free Up Space", "Clean Again"); does nothing while running.
    QCoro::Task<void> run();
    Q_INVOKABLE void start();

signals:
    void phaseChanged();

private:
    void setRunning(const QString &step);

    DiskScanner &m_scanner;
    SmartScanService &m_smartScan;
    MaintenanceService &m_maintenance;
    Phase m_phase = Phase::Idle;
    QString m_step;
    qint64 m_freedNow = 0;
    qint64 m_inTrash = 0;
};

} // namespace tessoly
