#pragma once

#include "moves/ExternalDrive.h"
#include "moves/FolderMover.h"

#include <QObject>
#include <functional>
#include <memory>
#include <optional>

namespace tessoly {

class ExternalDestinationStore;
class ExternalDriveManager;
class ScopedURL;
namespace platform {
class DefaultsStore;
}

// The move sheet's state and its one action: pick a drive, get a write
// grant for it (silently, else by asking), run the mover and keep what it
// said. The window's sheet and `tessoly move` both drive one of these.
class MoveController : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString itemPath READ itemPath NOTIFY itemChanged)
    Q_PROPERTY(QString itemName READ itemName NOTIFY itemChanged)
    Q_PROPERTY(QString itemDisplayPath READ itemDisplayPath NOTIFY itemChanged)
    Q_PROPERTY(qint64 itemBytes READ itemBytes NOTIFY itemChanged)
    Q_PROPERTY(QString selectedDriveId READ selectedDriveId NOTIFY selectedDriveChanged)
    Q_PROPERTY(bool working READ working NOTIFY stateChanged)
    Q_PROPERTY(bool hasProgress READ hasProgress NOTIFY stateChanged)
    Q_PROPERTY(QString progressText READ progressText NOTIFY stateChanged)
    Q_PROPERTY(bool failed READ failed NOTIFY stateChanged)
    Q_PROPERTY(bool succeeded READ succeeded NOTIFY stateChanged)
    Q_PROPERTY(QString symlinkPath READ symlinkPath NOTIFY stateChanged)
    Q_PROPERTY(QString movedTo READ movedTo NOTIFY stateChanged)
    Q_PROPERTY(bool disposedToTrash READ disposedToTrash NOTIFY stateChanged)

public:
    MoveController(ExternalDriveManager &drives, ExternalDestinationStore &destinations, FolderMover &mover,
                   platform::DefaultsStore &defaults, QString home, QObject *parent = nullptr);
    ~MoveController() override;

    // A fresh sheet for an item.
    Q_INVOKABLE void open(const QString &path, qint64 bytes);
    void open(const std::filesystem::path &path, qint64 bytes);
    // Whether a drive's row can be chosen: supported and large enough.
    [[nodiscard]] Q_INVOKABLE bool canChoose(const QString &driveId) const;
    Q_INVOKABLE void selectDrive(const QString &driveId);
    void selectDrive(const ExternalDrive &drive) { m_selectedDrive = drive; emit selectedDriveChanged(); }
    // "Move and symlink".
    Q_INVOKABLE void start();
    QCoro::Task<void> startMove();

    // Each event of a move as it happens (the command line prints them).
    void setProgressObserver(std::function<void(const MoveProgress &)> observer) { m_observer = std::move(observer); }

    [[nodiscard]] QString itemPath() const;
    [[nodiscard]] QString itemName() const;
    [[nodiscard]] QString itemDisplayPath() const;
    [[nodiscard]] qint64 itemBytes() const { return m_itemBytes; }
    [[nodiscard]] QString selectedDriveId() const;
    [[nodiscard]] bool working() const { return m_working; }
    [[nodiscard]] bool hasProgress() const { return m_progress.has_value(); }
    [[nodiscard]] const std::optional<MoveProgress> &progress() const { return m_progress; }
    [[nodiscard]] QString progressText() const { return m_progress ? m_progress->text() : QString(); }
    [[nodiscard]] bool failed() const { return m_progress && m_progress->stage == MoveProgress::Stage::Failed; }
    [[nodiscard]] bool succeeded() const { return m_symlinkResult.has_value(); }
    [[nodiscard]] QString symlinkPath() const;
    [[nodiscard]] QString movedTo() const;
    [[nodiscard]] bool disposedToTrash() const { return m_disposedToTrash; }

signals:
    void itemChanged();
    void selectedDriveChanged();
    void stateChanged();

private:
    void setProgress(const MoveProgress &progress);

    ExternalDriveManager &m_drives;
    ExternalDestinationStore &m_destinations;
    FolderMover &m_mover;
    platform::DefaultsStore &m_defaults;
    QString m_home; // for "~" in the paths shown
    std::filesystem::path m_itemPath;
    qint64 m_itemBytes = 0;
    std::optional<ExternalDrive> m_selectedDrive;
    std::optional<MoveProgress> m_progress;
    bool m_working = false;
    std::optional<std::pair<std::filesystem::path, std::filesystem::path>> m_symlinkResult;
    bool m_disposedToTrash = true;
    std::unique_ptr<ScopedURL> m_activeScope;
    std::function<void(const MoveProgress &)> m_observer;
};

} // namespace tessoly
