#include "platform/DefaultsStore.h"

namespace tessoly::platform {

bool DefaultsStore::set(const QString &key, const QVariant &value)
{
    return update(key, [&](const std::optional<QVariant> &) { return std::optional<QVariant>(value); });
}

bool DefaultsStore::remove(const QString &key)
{
    return update(key, [](const std::optional<QVariant> &) { return std::optional<QVariant>(); });
}

std::optional<bool> DefaultsStore::boolValue(const QString &key) const
{
    const auto value = object(key);
    if (!value || value->typeId() != QMetaType::Bool)
        return std::nullopt;
    return value->toBool();
}

std::optional<qint64> DefaultsStore::integerValue(const QString &key) const
{
    const auto value = object(key);
    if (!value)
        return std::nullopt;
    switch (value->typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
        return value->toLongLong();
    default:
        return std::nullopt;
    }
}

std::optional<QString> DefaultsStore::stringValue(const QString &key) const
{
    const auto value = object(key);
    if (!value || value->typeId() != QMetaType::QString)
        return std::nullopt;
    return value->toString();
}

} // namespace tessoly::platform
