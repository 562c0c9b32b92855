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
    // Runs of valid UTF-8 are decoded at once; each invalid byte becomes its surrogate.
    std::size_t run = 0;
    std::size_t i = 0;
    const auto flush = [&] {
        if (i > run)
            out += QString::fromUtf8(bytes.data() + run, static_cast<qsizetype>(i - run));
    };
    while (i < bytes.size()) {
        const std::size_t length = utf8SequenceLength(bytes, i);
        if (length == 0) {
            flush();
            out += QChar(static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(bytes[i])));
            ++i;
            run = i;
        } else {
            i += length;
        }
    }
    flush();
    return out;
}

std::filesystem::path textToPath(const QString &text)
{
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    // Runs of text are encoded at once; a lone U+DC80..U+DCFF is the raw byte
    // it stands for (a valid surrogate pair stays a character).
    const QStringView view(text);
    qsizetype run = 0;
    qsizetype i = 0;
    const auto flush = [&] {
        if (i > run)
            bytes += view.mid(run, i - run).toUtf8().toStdString();
    };
    while (i < view.size()) {
        const char16_t unit = view.at(i).unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < view.size() && view.at(i + 1).isLowSurrogate()) {
            i += 2;
        } else if (unit >= 0xDC80 && unit <= 0xDCFF) {
            flush();
            bytes.push_back(static_cast<char>(unit - 0xDC00));
            ++i;
            run = i;
        } else {
            ++i;
        }
    }
    flush();
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

bool liesInside(const std::filesystem::path &path, const std::filesystem::path &folder)
{
    const std::string &inner = path.native(), &outer = folder.native();
    return !outer.empty() && inner.size() > outer.size() && inner.starts_with(outer)
        && (outer.back() == '/' || inner[outer.size()] == '/');
}

} // namespace tessoly
