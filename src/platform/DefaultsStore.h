#pragma once

#include <QString>
#include <QVariant>
#include <filesystem>
#include <functional>
#include <optional>

namespace tessoly::platform {

// A typed key/value store for preferences. Values are bool, qint64, double,
// QString, QByteArray or QVariantMap. A stored value of another type than the
// caller expects reads as absent; nothing is written until a value is set.
// Every Tessoly process shares it: each change re-reads what the others
// wrote, so a change never drops another process's value.
class DefaultsStore {
public:
    // Given the stored value (nullopt: absent), returns the new one (nullopt: remove the key).
    using Change = std::function<std::optional<QVariant>(const std::optional<QVariant> &)>;

    virtual ~DefaultsStore() = default;
    [[nodiscard]] virtual std::optional<QVariant> object(const QString &key) const = 0;
    // One read-modify-write of one key, done at once; returns false when the
    // result couldn't be stored on disk.
    virtual bool update(const QString &key, const Change &change) = 0;
    // Reads again what other processes stored; true when anything changed.
    virtual bool reload() = 0;
    // The file that holds the values (a change there means reload()).
    [[nodiscard]] virtual std::filesystem::path location() const = 0;

    bool set(const QString &key, const QVariant &value);
    bool remove(const QString &key);
    [[nodiscard]] std::optional<bool> boolValue(const QString &key) const;
    [[nodiscard]] std::optional<qint64> integerValue(const QString &key) const;
    [[nodiscard]] std::optional<QString> stringValue(const QString &key) const;
    [[nodiscard]] bool contains(const QString &key) const { return object(key).has_value(); }
};

} // namespace tessoly::platform
