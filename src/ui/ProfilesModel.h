#pragma once

#include "cleaning/CleanupService.h"

#include <QHash>
#include <QObject>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace tessoly {

// The Profiles screen's state: what each folder measured last, whether a
// measurement runs, and what the last clean did. The cleaner itself keeps
// nothing; this model keeps what the screen shows.
class ProfilesModel : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(qint64 lastReclaimedBytes READ lastReclaimedBytes NOTIFY cleanFinished)
    // Words for what the last clean couldn't do (empty when it did it all).
    Q_PROPERTY(QString lastCleanNotice READ lastCleanNotice NOTIFY cleanFinished)
    Q_PROPERTY(bool isMeasuring READ isMeasuring NOTIFY isMeasuringChanged)
    // Changes whenever a state is stored, for bindings that read stateOf().
    Q_PROPERTY(int statesRevision READ statesRevision NOTIFY statesChanged)

public:
    explicit ProfilesModel(CleanupService &cleanup, QObject *parent = nullptr);

    [[nodiscard]] qint64 lastReclaimedBytes() const { return m_lastReclaimedBytes; }
    [[nodiscard]] QString lastCleanNotice() const { return m_lastCleanNotice; }
    [[nodiscard]] bool isMeasuring() const { return m_measuring > 0; }
    [[nodiscard]] int statesRevision() const { return m_statesRevision; }

    Q_INVOKABLE void measureTargets(const QStringList &ids);
    Q_INVOKABLE void cleanTargets(const QStringList &ids, const QString &profileName, bool deleteImmediately);
    // {bytes, exists, childCount, measured}
    Q_INVOKABLE [[nodiscard]] QVariantMap stateOf(const QString &id) const;
    // The folder a target names on this system, for display ("~/.cache/google-chrome").
    Q_INVOKABLE [[nodiscard]] QString locationOf(const QString &id) const;

signals:
    void statesChanged();
    void isMeasuringChanged();
    void measureFinished();
    void cleanFinished(qint64 bytes);

private:
    void store(const CleanupTargetState &state);
    QCoro::Task<void> measure(std::vector<CleanupTarget> targets);
    QCoro::Task<void> clean(std::vector<CleanupTarget> targets, QString profileName, bool deleteImmediately);

    CleanupService &m_cleanup;
    QHash<QString, CleanupTargetState> m_states;
    int m_statesRevision = 0;
    int m_measuring = 0; // measurements under way
    qint64 m_lastReclaimedBytes = 0;
    QString m_lastCleanNotice;
};

} // namespace tessoly
