#include "cleaning/ActionOutcomes.h"

namespace tessoly {

bool ActionOutcomes::begin(const QString &id)
{
    if (m_working.contains(id))
        return false;
    m_working.insert(id);
    return true;
}

void ActionOutcomes::end(const QString &id)
{
    m_working.remove(id);
}

void ActionOutcomes::set(const QString &id, QString message, bool success)
{
    m_outcomes.insert(id, ActionOutcome{std::move(message), success});
}

std::optional<ActionOutcome> ActionOutcomes::outcome(const QString &id) const
{
    const auto it = m_outcomes.find(id);
    if (it == m_outcomes.end())
        return std::nullopt;
    return *it;
}

QVariantMap ActionOutcomes::map() const
{
    QVariantMap map;
    for (auto it = m_outcomes.begin(); it != m_outcomes.end(); ++it)
        map.insert(it.key(), QVariantMap{{QStringLiteral("message"), it->message}, {QStringLiteral("success"), it->success}});
    return map;
}

} // namespace tessoly
