#include "moves/ExternalDriveManager.h"

#include "platform/PathText.h"

#include <QCoroFuture>
#include <QPointer>
#include <QtConcurrent>

namespace tessoly {

ExternalDriveManager::ExternalDriveManager(platform::MountedVolumes &volumes, QObject *parent)
    : QObject(parent)
    , m_volumes(volumes)
{
    startRefresh();
    QPointer<ExternalDriveManager> self(this);
    m_volumes.watch([self] {
        if (self)
            self->startRefresh();
    });
}

std::vector<ExternalDrive> ExternalDriveManager::supportedDrives() const
{
    std::vector<ExternalDrive> supported;
    std::copy_if(m_drives.begin(), m_drives.end(), std::back_inserter(supported),
                 [](const ExternalDrive &drive) { return drive.isSupported; });
    return supported;
}

const ExternalDrive *ExternalDriveManager::drive(const QString &id) const
{
    for (const ExternalDrive &drive : m_drives)
        if (pathToText(drive.id) == id || drive.name == id)
            return &drive;
    return nullptr;
}

QVariantList ExternalDriveManager::driveList() const
{
    QVariantList list;
    for (const ExternalDrive &drive : m_drives)
        list.append(toVariant(drive));
    return list;
}

namespace {
std::vector<ExternalDrive> listDrives(const platform::MountedVolumes::Listing &listing)
{
    return qualifyDrives(listing());
}
} // namespace

QCoro::Task<void> ExternalDriveManager::refresh()
{
    m_isRefreshing = true;
    emit isRefreshingChanged();
    // The refresh started by the constructor (or a mount event) may still be
    // listing when the manager goes away: it must not come back to a dead object.
    const QPointer<ExternalDriveManager> self(this);
    const quint64 refresh = ++m_refreshes;
    std::vector<ExternalDrive> drives = co_await QtConcurrent::run(listDrives, m_volumes.listing());
    if (!self)
        co_return;
    // Two refreshes can overlap (a mount event during a move): one started
    // earlier that finishes later must not put back an older list.
    if (refresh < m_appliedRefresh)
        co_return;
    m_appliedRefresh = refresh;
    m_drives = std::move(drives);
    m_isRefreshing = false;
    emit drivesChanged();
    emit isRefreshingChanged();
}

void ExternalDriveManager::startRefresh()
{
    refresh();
}

} // namespace tessoly
