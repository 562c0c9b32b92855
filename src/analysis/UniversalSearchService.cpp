#include "analysis/UniversalSearchService.h"

#include "core/QueuedProgress.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"
#include "platform/PathText.h"

#include <QCoroFuture>
#include <QPointer>
#include <QtConcurrent>
#include <atomic>
#include <deque>
#include <mutex>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace tessoly {
namespace fs = std::filesystem;
namespace {

std::atomic<quint64> walkSerial{0};

// One worker thread's share of a walk: its own builder, so that no file
// waits for a lock; files of one folder come one after another.
struct WorkerPart {
    quint64 serial = 0;
    SearchIndex::Builder *builder = nullptr;
    std::string folder;
    std::uint32_t number = 0;
};

SearchIndex buildIndex(const std::vector<fs::path> &roots, const std::function<void(const QString &)> &progress)
{
    SearchIndex::Builder builder;
    for (const fs::path &root : roots) {
        progress(QStringLiteral("Scanning %1…").arg(displayPath(root.filename())));
        UniversalSearchService::indexRoot(root, builder);
    }
    SearchIndex index = std::move(builder).finish();
#if defined(__GLIBC__)
    ::malloc_trim(0); // the builder's blocks go back to the system
#endif
    return index;
}

} // namespace

UniversalSearchService::UniversalSearchService(fs::path home, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
{
}

std::vector<fs::path> UniversalSearchService::roots(const fs::path &home)
{
    return {platform::locate("/Applications", home), home};
}

void UniversalSearchService::indexRoot(const fs::path &root, SearchIndex::Builder &builder)
{
    const quint64 serial = ++walkSerial;
    std::mutex lock;
    std::deque<SearchIndex::Builder> parts;
    platform::WalkOptions options;
    options.skipHidden = true;
    options.skipPackages = true;
    options.fileDetails = true;
    options.onFile = [&](const platform::WalkedFile &file) {
        thread_local WorkerPart part;
        if (part.serial != serial) {
            const std::lock_guard<std::mutex> guard(lock);
            part = WorkerPart{serial, &parts.emplace_back(), {}, 0};
            part.number = part.builder->addFolder(file.folder);
            part.folder = file.folder;
        } else if (part.folder != file.folder) {
            part.folder = file.folder;
            part.number = part.builder->addFolder(file.folder);
        }
        part.builder->addFile(part.number, file.name, file.logicalSize, file.modifiedNanoseconds / 1000000000);
    };
    (void)platform::walkTree(root, options);
    for (SearchIndex::Builder &part : parts)
        builder.absorb(std::move(part));
}

void UniversalSearchService::setProgress(const QString &text)
{
    m_progress = text;
    emit progressChanged();
}

void UniversalSearchService::startRebuild()
{
    (void)rebuildIndex();
}

QCoro::Task<void> UniversalSearchService::rebuildIndex()
{
    if (m_isIndexing)
        co_return;
    m_isIndexing = true;
    emit isIndexingChanged();
    setProgress(QStringLiteral("Indexing…"));
    QPointer<UniversalSearchService> self(this);
    std::function<void(const QString &)> progress = queuedProgress(this, [this](const QString &text) {
        if (m_isIndexing)
            setProgress(text);
    });
    SearchIndex index = co_await QtConcurrent::run(&buildIndex, roots(m_home), std::move(progress));
    if (!self)
        co_return;
    m_index = std::move(index);
    m_lastIndexedAt = QDateTime::currentDateTime();
    m_isIndexing = false;
    setProgress(QStringLiteral("Indexed %1 files").arg(m_index.size()));
    emit indexChanged();
    emit isIndexingChanged();
}

std::vector<UniversalSearchService::IndexEntry> UniversalSearchService::search(const QString &query, double minMB,
                                                                               int limit) const
{
    std::vector<IndexEntry> entries;
    for (SearchIndex::Entry entry : m_index.search(query, minMB, limit))
        entries.push_back(IndexEntry{entry, m_index.path(entry), m_index.bytes(entry), m_index.modifiedAt(entry)});
    return entries;
}

QVariantList UniversalSearchService::searchRows(const QString &query, double minMB, int limit) const
{
    const QString home = displayPath(m_home);
    QVariantList rows;
    for (const IndexEntry &entry : search(query, minMB, limit)) {
        rows.append(QVariantMap{{QStringLiteral("id"), entry.id},
                                {QStringLiteral("name"), displayPath(entry.url.filename())},
                                {QStringLiteral("path"), pathToText(entry.url)},
                                {QStringLiteral("folder"), abbreviateHome(displayPath(entry.url.parent_path()), home)},
                                {QStringLiteral("bytes"), entry.bytes},
                                {QStringLiteral("modifiedAt"), entry.modifiedAt.value_or(QDateTime())}});
    }
    return rows;
}

} // namespace tessoly
