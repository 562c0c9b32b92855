#include "moves/MoveController.h"

#include "platform/PathText.h"
#include "core/SettingsStore.h"
#include "moves/ExternalDestinationStore.h"
#include "moves/ExternalDriveManager.h"
#include "platform/DefaultsStore.h"

#include <QPointer>

namespace tessoly {
namespace fs = std::filesystem;

MoveController::MoveController(ExternalDriveManager &drives, ExternalDestinationStore &destinations, FolderMover &mover,
                               platform::DefaultsStore &defaults, QString home, QObject *parent)
    : QObject(parent)
    , m_drives(drives)
    , m_destinations(destinations)
    , m_mover(mover)
    , m_defaults(defaults)
    , m_home(std::move(home))
{
}

MoveController::~MoveController() = default;

void MoveController::open(const QString &path, qint64 bytes)
{
    open(textToPath(path), bytes);
}

void MoveController::open(const fs::path &path, qint64 bytes)
{
    m_itemPath = path;
    m_itemBytes = bytes;
    m_selectedDrive.reset();
    m_progress.reset();
    m_working = false;
    m_symlinkResult.reset();
    m_disposedToTrash = true;
    m_activeScope.reset();
    emit itemChanged();
    emit selectedDriveChanged();
    emit stateChanged();
}

bool MoveController::canChoose(const QString &driveId) const
{
    const ExternalDrive *drive = m_drives.drive(driveId);
    return drive != nullptr && drive->isSupported && drive->freeBytes >= m_itemBytes;
}

void MoveController::selectDrive(const QString &driveId)
{
    if (!canChoose(driveId))
        return;
    selectDrive(*m_drives.drive(driveId));
}

QString MoveController::itemPath() const
{
    return pathToText(m_itemPath);
}

QString MoveController::itemName() const
{
    return displayPath(m_itemPath.filename());
}

QString MoveController::itemDisplayPath() const
{
    return abbreviateHome(displayPath(m_itemPath), m_home);
}

QString MoveController::selectedDriveId() const
{
    return m_selectedDrive ? pathToText(m_selectedDrive->id) : QString();
}

QString MoveController::symlinkPath() const
{
    return m_symlinkResult ? displayPath(m_symlinkResult->first) : QString();
}

QString MoveController::movedTo() const
{
    return m_symlinkResult ? displayPath(m_symlinkResult->second) : QString();
}

void MoveController::setProgress(const MoveProgress &progress)
{
    m_progress = progress;
    if (progress.stage == MoveProgress::Stage::Done) {
        m_symlinkResult = std::pair{progress.symlinkPath, progress.movedTo};
        m_disposedToTrash = progress.disposedToTrash;
        m_working = false;
    } else if (progress.stage == MoveProgress::Stage::Failed) {
        m_working = false;
    }
    emit stateChanged();
    if (m_observer)
        m_observer(progress);
}

void MoveController::start()
{
    startMove();
}

QCoro::Task<void> MoveController::startMove()
{
    if (!m_selectedDrive || m_working)
        co_return;
    const ExternalDrive drive = *m_selectedDrive;
    m_working = true;
    setProgress(MoveProgress{});

    QPointer<MoveController> self(this);
    std::unique_ptr<ScopedURL> scope = m_destinations.scopedURL(drive);
    if (!scope)
        scope = co_await m_destinations.requestAccess(drive);
    if (!self)
        co_return;
    if (!scope) {
        MoveProgress failed;
        failed.stage = MoveProgress::Stage::Failed;
        failed.error.kind = MoveError::Kind::CopyFailed;
        failed.error.text = QStringLiteral("No destination folder chosen on %1.").arg(drive.name);
        setProgress(failed);
        co_return;
    }

    m_activeScope = std::move(scope);
    const bool deleteImmediately =
        SettingsStore::deleteImmediately(m_defaults);
    // Named, not a temporary of the co_await expression: g++ 12 destroys such
    // temporaries twice, which here corrupted the guard's reference count.
    FolderMover::ProgressHandler onProgress = [self](const MoveProgress &progress) {
        if (self)
            self->setProgress(progress);
    };
    fs::path destination = m_activeScope->url();
    co_await m_mover.move(m_itemPath, std::move(destination), deleteImmediately, std::move(onProgress));
    if (self)
        self->m_activeScope.reset();
}

} // namespace tessoly
