#include "ui/ProfilesModel.h"

#include "platform/PathText.h"

#include <QPointer>

namespace tessoly {

ProfilesModel::ProfilesModel(CleanupService &cleanup, QObject *parent)
    : QObject(parent)
    , m_cleanup(cleanup)
{
}

void ProfilesModel::store(const CleanupTargetState &state)
{
    m_states.insert(state.target.id, state);
    ++m_statesRevision;
    emit statesChanged();
}

QCoro::Task<void> ProfilesModel::measure(std::vector<CleanupTarget> targets)
{
    ++m_measuring;
    emit isMeasuringChanged();
    QPointer<ProfilesModel> self(this);
    const auto onState = [self](const CleanupTargetState &state) {
        if (self)
            self->store(state);
    };
    co_await m_cleanup.measure(std::move(targets), onState);
    if (!self)
        co_return;
    --m_measuring;
    emit isMeasuringChanged();
    emit measureFinished();
}

QCoro::Task<void> ProfilesModel::clean(std::vector<CleanupTarget> targets, QString profileName, bool deleteImmediately)
{
    QPointer<ProfilesModel> self(this);
    const auto onState = [self](const CleanupTargetState &state) {
        if (self)
            self->store(state);
    };
    const CleanupService::CleanOutcome outcome =
        co_await m_cleanup.clean(std::move(targets), std::move(profileName), deleteImmediately, onState);
    if (!self)
        co_return;
    m_lastReclaimedBytes = outcome.totalBytes;
    m_lastCleanNotice = outcome.notice();
    emit cleanFinished(outcome.totalBytes);
}

void ProfilesModel::measureTargets(const QStringList &ids)
{
    measure(targetsWithIds(ids));
}

void ProfilesModel::cleanTargets(const QStringList &ids, const QString &profileName, bool deleteImmediately)
{
    clean(targetsWithIds(ids), profileName, deleteImmediately);
}

QVariantMap ProfilesModel::stateOf(const QString &id) const
{
    const auto it = m_states.find(id);
    if (it == m_states.end())
        return {{QStringLiteral("measured"), false}, {QStringLiteral("exists"), false},
                {QStringLiteral("bytes"), 0}, {QStringLiteral("childCount"), 0}};
    return {{QStringLiteral("measured"), true}, {QStringLiteral("exists"), it->exists},
            {QStringLiteral("bytes"), it->bytes}, {QStringLiteral("childCount"), it->childCount}};
}

QString ProfilesModel::locationOf(const QString &id) const
{
    const auto target = cleanupTargetWithId(id);
    if (!target)
        return {};
    const std::filesystem::path &home = m_cleanup.home();
    return abbreviateHome(displayPath(CleanupService::resolve(*target, home)), displayPath(home));
}

} // namespace tessoly
