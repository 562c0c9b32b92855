#include "platform/FolderWatcher.h"

#include <QFile>

namespace tessoly::platform {

FolderWatcher::FolderWatcher(const std::filesystem::path &folder, QObject *parent)
    : QObject(parent)
{
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    m_watcher.addPath(QFile::decodeName(folder.c_str()));
    m_settle.setSingleShot(true);
    m_settle.setInterval(40);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_settle, qOverload<>(&QTimer::start));
    connect(&m_settle, &QTimer::timeout, this, &FolderWatcher::changed);
}

} // namespace tessoly::platform
