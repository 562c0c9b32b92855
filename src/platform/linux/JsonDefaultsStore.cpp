#include "platform/linux/JsonDefaultsStore.h"

#include "platform/AtomicFile.h"
#include "platform/SharedFile.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

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
        // A fraction, or a number beyond 64 bits (whose cast would be
        // undefined), reads as absent.
        const double number = value.toDouble();
        if (!(number >= -0x1p63 && number < 0x1p63) || std::trunc(number) != number)
            return std::nullopt;
        return QVariant(static_cast<qint64>(number));
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

JsonDefaultsStore::Read JsonDefaultsStore::read() const
{
    Read result;
    FileContents contents = readWholeFile(m_file);
    if (!contents.ok) {
        result.state = contents.missing ? FileState::Missing : contents.folder ? FileState::Folder : FileState::Corrupt;
        return result;
    }
    result.bytes = std::move(contents.data);
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(result.bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        result.state = FileState::Corrupt;
        return result;
    }
    const QJsonObject root = document.object();
    for (auto it = root.begin(); it != root.end(); ++it) {
        if (const auto value = decodeTagged(it.value()))
            result.values.insert(it.key(), *value);
    }
    result.state = FileState::Good;
    return result;
}

bool JsonDefaultsStore::reload()
{
    Read fresh = read();
    if (fresh.state == FileState::Good && fresh.bytes == m_lastBytes)
        return false;
    m_lastBytes = fresh.bytes;
    if (fresh.values == m_values)
        return false;
    m_values = std::move(fresh.values);
    return true;
}

std::optional<QVariant> JsonDefaultsStore::object(const QString &key) const
{
    const auto it = m_values.find(key);
    if (it == m_values.end())
        return std::nullopt;
    return *it;
}

bool JsonDefaultsStore::update(const QString &key, const Change &change)
{
    const FileLock lock(m_file);
    if (!lock.held())
        return false;
    // What other Tessoly processes wrote since we last looked.
    Read fresh = read();
    if (fresh.state == FileState::Folder)
        return false;
    if (fresh.state == FileState::Corrupt && keepAside(m_file).empty())
        return false; // bytes we can't read are never written over
    m_values = std::move(fresh.values);
    m_lastBytes = fresh.bytes;

    const auto it = m_values.constFind(key);
    const std::optional<QVariant> before = it == m_values.constEnd() ? std::nullopt : std::optional<QVariant>(*it);
    const std::optional<QVariant> after = change(before);
    if (after == before && fresh.state != FileState::Corrupt)
        return true;
    if (after)
        m_values.insert(key, *after);
    else
        m_values.remove(key);

    QJsonObject root;
    for (auto value = m_values.begin(); value != m_values.end(); ++value)
        root.insert(value.key(), encodeTagged(value.value()));
    const QByteArray bytes = QJsonDocument(root).toJson(QJsonDocument::Indented);
    if (!writeFileAtomically(m_file, bytes).isEmpty())
        return false;
    m_lastBytes = bytes;
    return true;
}

} // namespace tessoly::platform
