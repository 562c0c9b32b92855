#pragma once

#include "moves/ExternalDrive.h"

#include <QCoroTask>
#include <QObject>
#include <QVariantList>

namespace tessoly {

// The current list of volumes that may receive a move. Refreshed at start
// and after every mount or unmount; no polling in between.
class ExternalDriveManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList drives READ driveList NOTIFY drivesChanged)
    Q_PROPERTY(bool isRefreshing READ isRefreshing NOTIFY isRefreshingChanged)

public:
    explicit ExternalDriveManager(platform::MountedVolumes &volumes, QObject *parent = nullptr);

    [[nodiscard]] const std::vector<ExternalDrive> &drives() const { return m_drives; }
    [[nodiscard]] std::vector<ExternalDrive> supportedDrives() const;
    [[nodiscard]] const ExternalDrive *drive(const QString &id) const;
    [[nodiscard]] QVariantList driveList() const;
    [[nodiscard]] bool isRefreshing() const { return m_isRefreshing; }

    QCoro::Task<void> refresh();
    Q_INVOKABLE void startRefresh();

signals:
    void drivesChanged();
    void isRefreshingChanged();

private:
    platform::MountedVolumes &m_volumes;
    std::vector<ExternalDrive> m_drives;
    bool m_isRefreshing = false;
    quint64 m_refreshes = 0;      // refreshes started
    quint64 m_appliedRefresh = 0; // the latest whose listing is shown
};

} // namespace tessoly
