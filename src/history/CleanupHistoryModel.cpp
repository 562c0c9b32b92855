#include "history/CleanupHistoryModel.h"

#include "history/CleanupHistoryStore.h"
#include "platform/PathText.h"
#include "core/RelativeTime.h"

#include <QVariantMap>

namespace tessoly {

CleanupHistoryModel::CleanupHistoryModel(CleanupHistoryStore &store, QString home, QObject *parent)
    : QAbstractListModel(parent)
    , m_store(store)
    , m_home(std::move(home))
{
    connect(&m_store, &CleanupHistoryStore::entriesChanged, this, &CleanupHistoryModel::reset);
}

void CleanupHistoryModel::reset()
{
    beginResetModel();
    endResetModel();
    emit summaryChanged();
}

int CleanupHistoryModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_store.entries().size());
}

QVariant CleanupHistoryModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const CleanupHistoryEntry &entry = m_store.entries().at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case EntryIdRole: return entry.id.toString(QUuid::WithoutBraces).toUpper();
    case SummaryRole: return entry.summary;
    case KindLabelRole: return label(entry.kind);
    case KindIconRole: return iconName(entry.kind);
    case KindTintRole: return tintName(entry.kind);
    case AgeRole: return formatRelativeTime(entry.timestamp, QDateTime::currentDateTimeUtc());
    case ItemCountTextRole:
        return QStringLiteral("%1 %2").arg(entry.items.size()).arg(entry.items.size() == 1 ? "item" : "items");
    case BytesReclaimedRole: return entry.bytesReclaimed;
    case StatusLabelRole: return label(entry.status);
    case StatusTintRole: return tintName(entry.status);
    case IsRestorableRole: return isRestorable(entry.status);
    case ShownItemsRole: {
        QVariantList rows;
        for (std::size_t i = 0; i < entry.items.size() && i < 10; ++i) {
            const auto &item = entry.items[i];
            rows.append(QVariantMap{{QStringLiteral("path"), abbreviateHome(displayPath(item.originalPath), m_home)},
                                    {QStringLiteral("bytes"), item.bytes}});
        }
        return rows;
    }
    case MoreItemsRole: return static_cast<int>(entry.items.size() > 10 ? entry.items.size() - 10 : 0);
    case ExternalPathRole:
        if (!entry.items.empty() && entry.items.front().externalPath)
            return displayPath(*entry.items.front().externalPath);
        return QString();
    default: return {};
    }
}

QHash<int, QByteArray> CleanupHistoryModel::roleNames() const
{
    return {
        {EntryIdRole, "entryId"},
        {SummaryRole, "summary"},
        {KindLabelRole, "kindLabel"},
        {KindIconRole, "kindIcon"},
        {KindTintRole, "kindTint"},
        {AgeRole, "age"},
        {ItemCountTextRole, "itemCountText"},
        {BytesReclaimedRole, "bytesReclaimed"},
        {StatusLabelRole, "statusLabel"},
        {StatusTintRole, "statusTint"},
        {IsRestorableRole, "isRestorable"},
        {ShownItemsRole, "shownItems"},
        {MoreItemsRole, "moreItems"},
        {ExternalPathRole, "externalPath"},
    };
}

qint64 CleanupHistoryModel::totalReclaimed() const
{
    qint64 total = 0;
    for (const CleanupHistoryEntry &entry : m_store.entries())
        total += entry.bytesReclaimed;
    return total;
}

int CleanupHistoryModel::operations() const
{
    return static_cast<int>(m_store.entries().size());
}

int CleanupHistoryModel::restorable() const
{
    return static_cast<int>(std::count_if(m_store.entries().begin(), m_store.entries().end(),
                                          [](const CleanupHistoryEntry &entry) { return isRestorable(entry.status); }));
}

QString CleanupHistoryModel::restore(const QString &entryId)
{
    return restoreMessage(m_store.restore(QUuid(entryId)));
}

} // namespace tessoly
