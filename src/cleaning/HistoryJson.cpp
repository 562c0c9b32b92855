#include "cleaning/HistoryJson.h"

#include "platform/PathText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tessoly {
namespace {

class Writer {
public:
    QByteArray out;

    void string(const QString &text)
    {
        out += '"';
        for (qsizetype i = 0; i < text.size(); ++i) {
            const char16_t c = text.at(i).unicode();
            switch (c) {
            case u'"': out += "\\\""; break;
            case u'\\': out += "\\\\"; break;
            case u'/': out += "\\/"; break;
            case u'\b': out += "\\b"; break;
            case u'\f': out += "\\f"; break;
            case u'\n': out += "\\n"; break;
            case u'\r': out += "\\r"; break;
            case u'\t': out += "\\t"; break;
            default:
                if (c < 0x20 || (QChar::isSurrogate(c) && !pairedSurrogate(text, i))) {
                    out += QStringLiteral("\\u%1").arg(static_cast<unsigned>(c), 4, 16, QLatin1Char('0')).toLatin1();
                } else if (QChar::isHighSurrogate(c)) {
                    out += text.mid(i, 2).toUtf8();
                    ++i;
                } else {
                    out += QString(QChar(c)).toUtf8();
                }
            }
        }
        out += '"';
    }

    void indent(int level) { out += QByteArray(qsizetype{level} * 2, ' '); }
    void key(int level, const char *name)
    {
        indent(level);
        out += '"';
        out += name;
        out += "\" : ";
    }
    void number(qint64 value) { out += QByteArray::number(value); }

private:
    static bool pairedSurrogate(const QString &text, qsizetype i)
    {
        const char16_t c = text.at(i).unicode();
        if (QChar::isHighSurrogate(c))
            return i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        return i > 0 && text.at(i - 1).isHighSurrogate();
    }
};

QString uuidText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

void writeItem(Writer &w, const CleanupHistoryEntry::Item &item, int level)
{
    w.indent(level);
    w.out += "{\n";
    w.key(level + 1, "bytes");
    w.number(item.bytes);
    if (item.externalPath) {
        w.out += ",\n";
        w.key(level + 1, "externalPath");
        w.string(pathToText(*item.externalPath));
    }
    w.out += ",\n";
    w.key(level + 1, "id");
    w.string(uuidText(item.id));
    w.out += ",\n";
    w.key(level + 1, "originalPath");
    w.string(pathToText(item.originalPath));
    if (item.trashedPath) {
        w.out += ",\n";
        w.key(level + 1, "trashedPath");
        w.string(pathToText(*item.trashedPath));
    }
    w.out += "\n";
    w.indent(level);
    w.out += "}";
}

void writeEntry(Writer &w, const CleanupHistoryEntry &entry, int level)
{
    w.indent(level);
    w.out += "{\n";
    w.key(level + 1, "bytesReclaimed");
    w.number(entry.bytesReclaimed);
    w.out += ",\n";
    w.key(level + 1, "id");
    w.string(uuidText(entry.id));
    w.out += ",\n";
    w.key(level + 1, "items");
    w.out += "[\n";
    if (entry.items.empty()) {
        w.out += "\n";
    } else {
        for (std::size_t i = 0; i < entry.items.size(); ++i) {
            writeItem(w, entry.items[i], level + 2);
            w.out += i + 1 < entry.items.size() ? ",\n" : "\n";
        }
    }
    w.indent(level + 1);
    w.out += "],\n";
    w.key(level + 1, "kind");
    w.string(rawValue(entry.kind));
    w.out += ",\n";
    w.key(level + 1, "status");
    w.string(rawValue(entry.status));
    w.out += ",\n";
    w.key(level + 1, "summary");
    w.string(entry.summary);
    w.out += ",\n";
    w.key(level + 1, "timestamp");
    w.string(entry.timestamp.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss'Z'")));
    w.out += "\n";
    w.indent(level);
    w.out += "}";
}

std::optional<qint64> integer(const QJsonObject &object, const char *name)
{
    const QJsonValue value = object.value(QLatin1String(name));
    // toInteger falls back to its argument for a non-integral number: two
    // different fallbacks giving two answers means the value is no integer.
    const qint64 first = value.toInteger(0);
    if (!value.isDouble() || first != value.toInteger(1))
        return std::nullopt;
    return first;
}

std::optional<QString> text(const QJsonObject &object, const char *name)
{
    const QJsonValue value = object.value(QLatin1String(name));
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<QUuid> uuid(const QJsonObject &object, const char *name)
{
    const auto value = text(object, name);
    if (!value)
        return std::nullopt;
    const QUuid id(*value);
    if (id.isNull())
        return std::nullopt;
    return id;
}

// An optional path: absent or null reads as absent; anything but a string fails.
bool optionalPath(const QJsonObject &object, const char *name, std::optional<std::filesystem::path> &out)
{
    const QJsonValue value = object.value(QLatin1String(name));
    if (value.isUndefined() || value.isNull())
        return true;
    if (!value.isString())
        return false;
    out = textToPath(value.toString());
    return true;
}

std::optional<CleanupHistoryEntry::Item> decodeItem(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    CleanupHistoryEntry::Item item;
    const auto id = uuid(object, "id");
    const auto original = text(object, "originalPath");
    const auto bytes = integer(object, "bytes");
    if (!id || !original || !bytes)
        return std::nullopt;
    item.id = *id;
    item.originalPath = textToPath(*original);
    item.bytes = *bytes;
    if (!optionalPath(object, "trashedPath", item.trashedPath) || !optionalPath(object, "externalPath", item.externalPath))
        return std::nullopt;
    return item;
}

std::optional<CleanupHistoryEntry> decodeEntry(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    const auto id = uuid(object, "id");
    const auto bytes = integer(object, "bytesReclaimed");
    const auto summary = text(object, "summary");
    const auto kindText = text(object, "kind");
    const auto statusText = text(object, "status");
    const auto timestampText = text(object, "timestamp");
    const QJsonValue items = object.value(QLatin1String("items"));
    if (!id || !bytes || !summary || !kindText || !statusText || !timestampText || !items.isArray())
        return std::nullopt;
    const auto kind = kindFromRaw(*kindText);
    const auto status = statusFromRaw(*statusText);
    const QDateTime timestamp = QDateTime::fromString(*timestampText, Qt::ISODate);
    if (!kind || !status || !timestamp.isValid() || timestamp.timeSpec() == Qt::LocalTime)
        return std::nullopt;

    CleanupHistoryEntry entry;
    entry.id = *id;
    entry.timestamp = QDateTime::fromSecsSinceEpoch(timestamp.toSecsSinceEpoch(), Qt::UTC);
    entry.kind = *kind;
    entry.summary = *summary;
    entry.bytesReclaimed = *bytes;
    entry.status = *status;
    for (const QJsonValue itemValue : items.toArray()) {
        auto item = decodeItem(itemValue);
        if (!item)
            return std::nullopt;
        entry.items.push_back(std::move(*item));
    }
    return entry;
}

} // namespace

QByteArray encodeHistory(const std::vector<CleanupHistoryEntry> &entries)
{
    Writer w;
    w.out += "[\n";
    if (entries.empty())
        w.out += "\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        writeEntry(w, entries[i], 1);
        w.out += i + 1 < entries.size() ? ",\n" : "\n";
    }
    w.out += "]";
    return w.out;
}

std::optional<std::vector<CleanupHistoryEntry>> decodeHistory(const QByteArray &json)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    std::vector<CleanupHistoryEntry> entries;
    for (const QJsonValue value : document.array()) {
        auto entry = decodeEntry(value);
        if (!entry)
            return std::nullopt;
        entries.push_back(std::move(*entry));
    }
    return entries;
}

} // namespace tessoly
