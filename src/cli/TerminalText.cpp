#include "cli/TerminalText.h"

namespace tessoly {
namespace {

bool acted(char16_t unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) // C0, DEL, C1
        || unit == 0x2028 || unit == 0x2029              // line and paragraph separators
        || unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E)
        || (unit >= 0x2066 && unit <= 0x2069); // marks, embeddings, overrides and isolates of bidirectional text
}

QString hex(unsigned value, int digits)
{
    return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0'));
}

} // namespace

QString printable(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text.at(i).unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            out += text.at(i);
            out += text.at(++i);
        } else if (QChar::isSurrogate(unit)) {
            // A lone surrogate: U+DC80..U+DCFF stands for a byte that isn't UTF-8.
            out += unit >= 0xDC80 && unit <= 0xDCFF ? QStringLiteral("\\x") + hex(unit - 0xDC00u, 2)
                                                    : QStringLiteral("\\u") + hex(unit, 4);
        } else if (!acted(unit)) {
            out += text.at(i);
        } else if (unit == u'\n') {
            out += QLatin1String("\\n");
        } else if (unit == u'\t') {
            out += QLatin1String("\\t");
        } else if (unit == u'\r') {
            out += QLatin1String("\\r");
        } else if (unit <= 0xFF) {
            out += QStringLiteral("\\x") + hex(unit, 2);
        } else {
            out += QStringLiteral("\\u") + hex(unit, 4);
        }
    }
    return out;
}

} // namespace tessoly
