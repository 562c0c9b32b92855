#pragma once

#include <QAbstractListModel>
#include <QPointer>

namespace tessoly {

class CleanupHistoryStore;

// The History page's view of the log: one row per entry, newest first, with
// the figures above the list and the restore command.
class CleanupHistoryModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(qint64 totalReclaimed READ totalReclaimed NOTIFY summaryChanged)
    Q_PROPERTY(int operations READ operations NOTIFY summaryChanged)
    Q_PROPERTY(int restorable READ restorable NOTIFY summaryChanged)

public:
    enum Role {
        EntryIdRole = Qt::UserRole + 1,
        SummaryRole,
        KindLabelRole,
        KindIconRole,
        KindTintRole,
        AgeRole,
        ItemCountTextRole,
        BytesReclaimedRole,
        StatusLabelRole,
        StatusTintRole,
        IsRestorableRole,
        ShownItemsRole, // the first ten: [{path, bytes}]
        MoreItemsRole, // how many are not shown
        ExternalPathRole, // the first item's external path, or empty
    };

    CleanupHistoryModel(CleanupHistoryStore &store, QString home, QObject *parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    [[nodiscard]] qint64 totalReclaimed() const;
    [[nodiscard]] int operations() const;
    [[nodiscard]] int restorable() const;

    // Restores the entry and returns the message for its row.
    Q_INVOKABLE QString restore(const QString &entryId);

signals:
    void summaryChanged();

private:
    void reset();

    CleanupHistoryStore &m_store;
    QString m_home;
};

} // namespace tessoly
