#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

namespace tessoly {

// The figures a storage report is made of, taken at one moment.
struct StorageReport {
    struct Category {
        QString title;
        qint64 bytes = 0;
    };
    struct TopFile {
        QString name;
        QString path;
        qint64 bytes = 0;
    };
    struct RecentCleanup {
        QDateTime timestamp;
        QString summary;
        qint64 bytesReclaimed = 0;
    };

    qint64 totalCapacity = 0;
    qint64 totalUsed = 0;
    qint64 totalFree = 0;
    QList<Category> categories;
    QList<TopFile> topFiles; // at most 25 are shown
    QList<RecentCleanup> recent; // newest first; at most 15 are shown
};

} // namespace tessoly
