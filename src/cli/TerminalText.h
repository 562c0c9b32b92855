#pragma once

#include <QString>
#include <QTextStream>
#include <type_traits>

namespace tessoly {

// The text with every character a terminal would act on instead of showing
// written as an escape: C0 controls (\n, \t, \r, \x1b…), DEL and C1 as \xNN,
// line and paragraph separators and the bidirectional overrides as \uNNNN,
// and a byte of a name that isn't UTF-8 (carried as U+DC80..U+DCFF) as \xNN.
// A hostile file name can then neither move the cursor nor fake a line.
[[nodiscard]] QString printable(QStringView text);

// Words for a person. Every QString written here goes out through
// printable(), since it may hold a name from the disk or a tool's output;
// the program's own literals (const char *) and numbers go out as they are,
// so the line ends the program writes stay line ends.
class TerminalText {
public:
    explicit TerminalText(QTextStream &stream)
        : m_stream(&stream)
    {
    }

    TerminalText &operator<<(const QString &text)
    {
        *m_stream << printable(text);
        return *this;
    }
    TerminalText &operator<<(const char *literal)
    {
        *m_stream << literal;
        return *this;
    }
    TerminalText &operator<<(char c)
    {
        *m_stream << c;
        return *this;
    }
    template <typename Number>
        requires std::is_arithmetic_v<Number>
    TerminalText &operator<<(Number number)
    {
        *m_stream << number;
        return *this;
    }
    void flush() { m_stream->flush(); }
    // Where the words go from now on.
    void redirect(QTextStream &stream) { m_stream = &stream; }

private:
    QTextStream *m_stream;
};

} // namespace tessoly
