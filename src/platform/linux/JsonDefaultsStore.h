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
// "defaults.json.corrupt-<time>" and a new file is written. Each change runs
// under the file's lock, on what the file holds at that moment.
class JsonDefaultsStore final : public DefaultsStore {
public:
    explicit JsonDefaultsStore(std::filesystem::path file);

    [[nodiscard]] std::optional<QVariant> object(const QString &key) const override;
    bool update(const QString &key, const Change &change) override;
    bool reload() override;
    [[nodiscard]] std::filesystem::path location() const override { return m_file; }

private:
    enum class FileState { Missing, Good, Corrupt, Folder };
    struct Read {
        FileState state = FileState::Missing;
        QByteArray bytes;
        QVariantMap values;
    };
    [[nodiscard]] Read read() const;

    std::filesystem::path m_file;
    QVariantMap m_values;
    QByteArray m_lastBytes; // what the file held when last read or written
};

} // namespace tessoly::platform
