// The command line's settings command: lists, reads and writes the settings
// by their defaults keys, each value checked against the key's type.
#include "application/TessolyApp.h"
#include "cleaning/CleanupCatalogue.h"
#include "cli/CommandLine.h"
#include "core/AutoFrequency.h"
#include "core/SettingsStore.h"

#include <QJsonObject>

namespace tessoly {
namespace {

QString shown(const QVariant &value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    return value.toString();
}

QString choices(const QStringList &values)
{
    return QStringLiteral("“%1”").arg(values.join(QStringLiteral("”, “")));
}

// The values a string setting accepts, where it has a fixed list.
QStringList allowedValues(const QString &key)
{
    if (key.endsWith(QLatin1String(".autoCleanupFrequency"))) {
        QStringList list;
        for (const AutoFrequency frequency : allAutoFrequencies)
            list << rawValue(frequency);
        return list;
    }
    if (key.endsWith(QLatin1String(".autoCleanupProfile"))) {
        QStringList list;
        for (const CleanupProfile profile : allCleanupProfiles)
            list << rawValue(profile);
        return list;
    }
    if (key.endsWith(QLatin1String(".interfaceMode")))
        return {QStringLiteral("simple"), QStringLiteral("advanced")};
    return {};
}

// The typed value of a word for a key, or nullopt with the reason.
std::optional<QVariant> parseValue(const QString &key, const QVariant &current, const QString &word, QString *error)
{
    switch (current.typeId()) {
    case QMetaType::Bool:
        if (word == QLatin1String("true") || word == QLatin1String("false"))
            return QVariant(word == QLatin1String("true"));
        *error = QStringLiteral("%1 is true or false, not “%2”.").arg(key, word);
        return std::nullopt;
    case QMetaType::Int: {
        bool ok = false;
        const int number = word.toInt(&ok);
        if (ok)
            return QVariant(number);
        *error = QStringLiteral("%1 is a whole number, not “%2”.").arg(key, word);
        return std::nullopt;
    }
    default: {
        const QStringList allowed = allowedValues(key);
        if (!allowed.isEmpty() && !allowed.contains(word)) {
            *error = QStringLiteral("%1 is one of %2, not “%3”.").arg(key, choices(allowed), word);
            return std::nullopt;
        }
        return QVariant(word);
    }
    }
}

} // namespace

QCoro::Task<int> CommandLine::settings(Parsed parsed)
{
    const bool json = parsed.flag("--json");
    SettingsStore &store = *m_app.settings();
    if (parsed.words.isEmpty()) {
        QJsonObject object;
        for (const QString &key : SettingsStore::keys()) {
            object.insert(key, QJsonValue::fromVariant(store.value(key)));
            if (!json)
                m_out << key << " = " << shown(store.value(key)) << "\n";
        }
        if (json)
            printJson(object);
        co_return 0;
    }
    const QString &key = parsed.words.first();
    if (!SettingsStore::keys().contains(key))
        co_return usageError(QStringLiteral("no setting is called “%1”. “tessoly settings” lists them.").arg(key));
    if (parsed.words.size() == 2) {
        QString error;
        const std::optional<QVariant> value = parseValue(key, store.value(key), parsed.words.at(1), &error);
        if (!value)
            co_return usageError(error);
        if (!store.setValue(key, *value, &error))
            co_return fail(error + QStringLiteral(" The setting keeps its old value."));
    }
    if (json)
        printJson(QJsonObject{{QStringLiteral("key"), key}, {QStringLiteral("value"), QJsonValue::fromVariant(store.value(key))}});
    else
        m_out << key << " = " << shown(store.value(key)) << "\n";
    co_return 0;
}

} // namespace tessoly
