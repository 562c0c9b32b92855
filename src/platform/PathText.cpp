#include "platform/PathText.h"

#include <string>

namespace tessoly {
namespace {

// Length of the valid UTF-8 sequence starting at s[i], or 0 if invalid.
std::size_t utf8SequenceLength(const std::string &s, std::size_t i)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char c = byte(i);
    std::size_t length = 0;
    char32_t min = 0;
    char32_t cp = 0;
    if (c < 0x80)
        return 1;
    if ((c & 0xE0) == 0xC0) {
        length = 2; min = 0x80; cp = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
        length = 3; min = 0x800; cp = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
        length = 4; min = 0x10000; cp = c & 0x07;
    } else {
        return 0;
    }
    if (i + length > s.size())
        return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (byte(i + k) & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return length;
}

} // namespace

QString pathToText(const std::filesystem::path &path)
{
    const std::string &bytes = path.native();
    QString out;
    out.reserve(static_cast<qsizetype>(bytes.size()));
    std::size_t i = 0;
    while (i < bytes.size()) {
        const std::size_t length = utf8SequenceLength(bytes, i);
        if (length == 0) {
            out += QChar(static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(bytes[i])));
            ++i;
        } else {
            out += QString::fromUtf8(bytes.data() + i, static_cast<qsizetype>(length));
            i += length;
        }
    }
    return out;
}

std::filesystem::path textToPath(const QString &text)
{
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text.at(i).unicode();
        if (unit >= 0xDC80 && unit <= 0xDCFF) {
            bytes.push_back(static_cast<char>(unit - 0xDC00));
            continue;
        }
        qsizetype length = 1;
        if (QChar::isHighSurrogate(unit) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            length = 2;
        bytes += text.mid(i, length).toStdString();
        i += length - 1;
    }
    return {bytes};
}

QString displayPath(const std::filesystem::path &path)
{
    return QString::fromUtf8(path.native().data(), static_cast<qsizetype>(path.native().size()));
}

QString abbreviateHome(const QString &text, const QString &home)
{
    if (home.isEmpty() || home == QLatin1String("/"))
        return text;
    if (text == home)
        return QStringLiteral("~");
    const QString prefix = home.endsWith(QLatin1Char('/')) ? home : home + QLatin1Char('/');
    if (text.startsWith(prefix))
        return QStringLiteral("~/") + text.mid(prefix.size());
    return text;
}

} // namespace tessoly
