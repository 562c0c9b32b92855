#pragma once

#include <QHash>
#include <QSet>
#include <QStringList>
#include <QVariantMap>
#include <optional>

namespace tessoly {

// How an action on one item last ended, in words.
struct ActionOutcome {
    QString message;
    bool success = true;
};

// For screens whose items each have one action: which items are being
// worked on (one action per item at a time), and each item's last outcome.
class ActionOutcomes {
public:
    // False when the item is already being worked on.
    bool begin(const QString &id);
    void end(const QString &id);
    [[nodiscard]] const QSet<QString> &working() const { return m_working; }
    [[nodiscard]] QStringList workingList() const { return {m_working.begin(), m_working.end()}; }

    void set(const QString &id, QString message, bool success);
    void clear() { m_outcomes.clear(); }
    [[nodiscard]] std::optional<ActionOutcome> outcome(const QString &id) const;
    // id -> {message, success}
    [[nodiscard]] QVariantMap map() const;

private:
    QSet<QString> m_working;
    QHash<QString, ActionOutcome> m_outcomes;
};

} // namespace tessoly
