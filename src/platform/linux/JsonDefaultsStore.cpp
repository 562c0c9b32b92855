#include "platform/linux/JsonDefaultsStore.h"

#include "platform/AtomicFile.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>

namespace tessoly::platform {
namespace {

std::optional<QVariant> decodeTagged(const QJsonValue &tagged)
{
    if (!tagged.isObject() || tagged.toObject().size() != 1)
        return std::nullopt;
    const QJsonObject object = tagged.toObject();
    const QString tag = object.begin().key();
    const QJsonValue value = object.begin().value();
    if (tag == QLatin1String("bool") && value.isBool())
        return QVariant(value.toBool());
    if (tag == QLatin1String("int") && value.isDouble()) {
        const double number = value.toDouble();
        const auto integer = static_cast<qint64>(number);
        if (static_cast<double>(integer) != number)
            return std::nullopt;
        return QVariant(integer);
    }
    if (tag == QLatin1String("double") && value.isDouble())
        return QVariant(value.toDouble());
    if (tag == QLatin1String("string") && value.isString())
        return QVariant(value.toString());
    if (tag == QLatin1String("data") && value.isString()) {
        const auto decoded = QByteArray::fromBase64Encoding(value.toString().toLatin1(),
                                                            QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return std::nullopt;
        return QVariant(*decoded);
    }
    if (tag == QLatin1String("dict") && value.isObject()) {
        QVariantMap map;
        const QJsonObject inner = value.toObject();
        for (auto it = inner.begin(); it != inner.end(); ++it) {
            if (const auto decodedValue = decodeTagged(it.value()))
                map.insert(it.key(), *decodedValue);
        }
        return QVariant(map);
    }
    return std::nullopt;
}

QJsonValue encodeTagged(const QVariant &value)
{
    QJsonObject object;
    switch (value.typeId()) {
    case QMetaType::Bool:
        object.insert(QStringLiteral("bool"), value.toBool());
        break;
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
        object.insert(QStringLiteral("int"), value.toLongLong());
        break;
    case QMetaType::Double:
        object.insert(QStringLiteral("double"), value.toDouble());
        break;
    case QMetaType::QByteArray:
        object.insert(QStringLiteral("data"), QString::fromLatin1(value.toByteArray().toBase64()));
        break;
    case QMetaType::QVariantMap: {
        QJsonObject inner;
        const QVariantMap map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it)
            inner.insert(it.key(), encodeTagged(it.value()));
        object.insert(QStringLiteral("dict"), inner);
        break;
    }
    default:
        object.insert(QStringLiteral("string"), value.toString());
        break;
    }
    return object;
}

} // namespace

JsonDefaultsStore::JsonDefaultsStore(std::filesystem::path file)
    : m_file(std::move(file))
{
    reload();
}

JsonDefaultsStore::FileState JsonDefaultsStore::reload()
{
    m_values.clear();
    const FileContents contents = readWholeFile(m_file);
    if (!contents.ok)
        return contents.missing ? FileState::Missing : FileState::Corrupt;
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(contents.data, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return FileState::Corrupt;
    const QJsonObject root = document.object();
    for (auto it = root.begin(); it != root.end(); ++it) {
        if (const auto value = decodeTagged(it.value()))
            m_values.insert(it.key(), *value);
    }
    return FileState::Good;
}

std::optional<QVariant> JsonDefaultsStore::object(const QString &key) const
{
    const auto it = m_values.find(key);
    if (it == m_values.end())
        return std::nullopt;
    return *it;
}

bool JsonDefaultsStore::write()
{
    QJsonObject root;
    for (auto it = m_values.begin(); it != m_values.end(); ++it)
        root.insert(it.key(), encodeTagged(it.value()));
    std::error_code ignored;
    std::filesystem::create_directories(m_file.parent_path(), ignored);
    return writeFileAtomically(m_file, QJsonDocument(root).toJson(QJsonDocument::Indented)).isEmpty();
}

bool JsonDefaultsStore::set(const QString &key, const QVariant &value)
{
    // Pick up what another Tessoly process wrote since we last looked.
    if (reload() == FileState::Corrupt) {
        const std::filesystem::path aside = m_file.native() + ".corrupt";
        std::rename(m_file.c_str(), aside.c_str());
    }
    m_values.insert(key, value);
    return write();
}

bool JsonDefaultsStore::remove(const QString &key)
{
    if (reload() == FileState::Corrupt)
        return false;
    if (m_values.remove(key) == 0)
        return true;
    return write();
}

} // namespace tessoly::platform
