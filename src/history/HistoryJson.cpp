#include "history/HistoryJson.h"

#include "platform/PathText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cstdio>
#include <cstring>

namespace tessoly {
namespace {

class Writer {
public:
    QByteArray out;

    // The encoder's escaping, written straight to UTF-8: "/" as "\/",
    // control characters and lone surrogates (non-UTF-8 path bytes) as \u.
    void string(const QString &text)
    {
        out += '"';
        const char16_t *data = reinterpret_cast<const char16_t *>(text.constData());
        const qsizetype size = text.size();
        for (qsizetype i = 0; i < size; ++i) {
            const char16_t c = data[i];
            if (c < 0x80) {
                ascii(c);
            } else if (c < 0x800) {
                out += static_cast<char>(0xC0 | (c >> 6));
                out += static_cast<char>(0x80 | (c & 0x3F));
            } else if (QChar::isHighSurrogate(c) && i + 1 < size && QChar::isLowSurrogate(data[i + 1])) {
                const char32_t point = QChar::surrogateToUcs4(c, data[i + 1]);
                ++i;
                out += static_cast<char>(0xF0 | (point >> 18));
                out += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
                out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
                out += static_cast<char>(0x80 | (point & 0x3F));
            } else if (QChar::isSurrogate(c)) {
                escape(c);
            } else {
                out += static_cast<char>(0xE0 | (c >> 12));
                out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
                out += static_cast<char>(0x80 | (c & 0x3F));
            }
        }
        out += '"';
    }

    // A path: ASCII bytes are written as they are (escaped); any other path
    // goes through its text form, which keeps every byte.
    void path(const std::filesystem::path &value)
    {
        const std::string &bytes = value.native();
        if (std::any_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
            string(pathToText(value));
            return;
        }
        out += '"';
        for (const char c : bytes)
            ascii(static_cast<char16_t>(c));
        out += '"';
    }

    // Text known to need no escaping (ids, raw values, timestamps).
    void plain(const QByteArray &text)
    {
        out += '"';
        out += text;
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
    void ascii(char16_t c)
    {
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
            if (c < 0x20)
                escape(c);
            else
                out += static_cast<char>(c);
        }
    }

    void escape(char16_t c)
    {
        static constexpr char hex[] = "0123456789abcdef";
        const char text[] = {'\\', 'u', hex[(c >> 12) & 0xF], hex[(c >> 8) & 0xF], hex[(c >> 4) & 0xF], hex[c & 0xF]};
        out.append(text, sizeof text);
    }
};

// yyyy-MM-ddTHH:mm:ssZ in UTC, built from the fields (QDateTime::toString is slow).
QByteArray isoTimestamp(const QDateTime &timestamp)
{
    const QDateTime utc = timestamp.toUTC();
    const QDate date = utc.date();
    const QTime time = utc.time();
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", date.year(), date.month(), date.day(), time.hour(),
                  time.minute(), time.second());
    return QByteArray(text);
}

QByteArray uuidText(const QUuid &id)
{
    return id.toByteArray(QUuid::WithoutBraces).toUpper();
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
        w.path(*item.externalPath);
    }
    w.out += ",\n";
    w.key(level + 1, "id");
    w.plain(uuidText(item.id));
    w.out += ",\n";
    w.key(level + 1, "originalPath");
    w.path(item.originalPath);
    if (item.trashedPath) {
        w.out += ",\n";
        w.key(level + 1, "trashedPath");
        w.path(*item.trashedPath);
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
    w.plain(uuidText(entry.id));
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
    w.plain(rawValue(entry.kind).toLatin1());
    w.out += ",\n";
    w.key(level + 1, "status");
    w.plain(rawValue(entry.status).toLatin1());
    w.out += ",\n";
    w.key(level + 1, "summary");
    w.string(entry.summary);
    w.out += ",\n";
    w.key(level + 1, "timestamp");
    w.plain(isoTimestamp(entry.timestamp));
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
    w.out.reserve(static_cast<qsizetype>(entries.size()) * 1100 + 16);
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

namespace {

// The same JSON with every "\/" written as "/": the log escapes each slash
// of every path, which sends Qt's parser down its slow path for every string.
// Other escapes ("\\/" among them) are kept as they are.
QByteArray withPlainSlashes(const QByteArray &json)
{
    if (!json.contains("\\/"))
        return json;
    QByteArray out(json.size(), Qt::Uninitialized);
    char *to = out.data();
    const char *from = json.constData();
    const char *const end = from + json.size();
    while (from < end) {
        const char *escape = static_cast<const char *>(std::memchr(from, '\\', static_cast<std::size_t>(end - from)));
        const char *stop = escape != nullptr ? escape : end;
        std::memcpy(to, from, static_cast<std::size_t>(stop - from));
        to += stop - from;
        from = stop;
        if (escape == nullptr || escape + 1 >= end)
            break;
        if (escape[1] != '/')
            *to++ = '\\';
        *to++ = escape[1];
        from = escape + 2;
    }
    if (from < end) { // a lone backslash at the very end
        std::memcpy(to, from, static_cast<std::size_t>(end - from));
        to += end - from;
    }
    out.truncate(to - out.constData());
    return out;
}

} // namespace

std::optional<std::vector<CleanupHistoryEntry>> decodeHistory(const QByteArray &json)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(withPlainSlashes(json), &error);
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
