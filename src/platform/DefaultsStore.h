#pragma once

#include <QString>
#include <QVariant>
#include <optional>

namespace tessoly::platform {

// A typed key/value store for preferences. Values are bool, qint64, double,
// QString, QByteArray or QVariantMap. A stored value of another type than the
// caller expects reads as absent; nothing is written until a value is set.
class DefaultsStore {
public:
    virtual ~DefaultsStore() = default;
    [[nodiscard]] virtual std::optional<QVariant> object(const QString &key) const = 0;
    // Writes at once; returns false when the value couldn't be stored on disk.
    virtual bool set(const QString &key, const QVariant &value) = 0;
    virtual bool remove(const QString &key) = 0;

    [[nodiscard]] std::optional<bool> boolValue(const QString &key) const;
    [[nodiscard]] std::optional<qint64> integerValue(const QString &key) const;
    [[nodiscard]] std::optional<QString> stringValue(const QString &key) const;
    [[nodiscard]] bool contains(const QString &key) const { return object(key).has_value(); }
};

} // namespace tessoly::platform
