#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>
#include <filesystem>

namespace tessoly::platform {

// Tells when the folder of a shared file changed. The files are replaced by
// rename, which only the folder sees; a burst of changes (temporary file,
// rename) is reported once, shortly after it ends.
class FolderWatcher : public QObject {
    Q_OBJECT

public:
    explicit FolderWatcher(const std::filesystem::path &folder, QObject *parent = nullptr);

signals:
    void changed();

private:
    QFileSystemWatcher m_watcher;
    QTimer m_settle;
};

} // namespace tessoly::platform
