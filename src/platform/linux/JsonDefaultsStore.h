#pragma once

#include "platform/DefaultsStore.h"

#include <QVariantMap>
#include <filesystem>

namespace tessoly::platform {

// Preferences in one JSON object, each value tagged with its type:
// {"key": {"bool": true}}, {"int": 90}, {"double": 1.5}, {"string": "x"},
// {"data": "<base64>"}, {"dict": {...}}. A value with an unknown tag or the
// wrong JSON type reads as absent. An unreadable file reads as empty and is
// left alone until a value is set; then it is kept aside as
// "defaults.json.corrupt" and a new file is written.
class JsonDefaultsStore final : public DefaultsStore {
public:
    explicit JsonDefaultsStore(std::filesystem::path file);

    [[nodiscard]] std::optional<QVariant> object(const QString &key) const override;
    bool set(const QString &key, const QVariant &value) override;
    bool remove(const QString &key) override;

private:
    enum class FileState { Missing, Good, Corrupt };
    FileState reload();
    bool write();

    std::filesystem::path m_file;
    QVariantMap m_values;
};

} // namespace tessoly::platform
