#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstring>

// Walks the lines of a text held in memory without copying them. A line ends at "\n";
// a "\r" before it is dropped.
class TextLineReader
{
public:
    explicit TextLineReader(const QByteArray &text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }
    // The next line, or an empty view at the end.
    QByteArrayView next()
    {
        const qsizetype n = m_text.size();
        if (m_pos >= n) return {};
        const char *base = m_text.constData();
        const qsizetype start = m_pos;
        const void *nl = std::memchr(base + start, '\n', size_t(n - start));
        qsizetype end = nl ? static_cast<const char *>(nl) - base : n;
        m_pos = nl ? end + 1 : n;
        if (end > start && base[end - 1] == '\r') --end;
        return QByteArrayView(base + start, end - start);
    }

    // Items separated by white space (and commas when asked); returns how many were found,
    // at most maxItems, stored in items.
    static int split(QByteArrayView line, QByteArrayView *items, int maxItems, bool commas)
    {
        int count = 0;
        qsizetype i = 0;
        const qsizetype n = line.size();
        while (i < n && count < maxItems) {
            while (i < n && isSeparator(line[i], commas))
                ++i;
            if (i >= n) break;
            const qsizetype start = i;
            while (i < n && !isSeparator(line[i], commas))
                ++i;
            items[count++] = line.sliced(start, i - start);
        }
        return count;
    }

    static bool isSpace(char c)
    {
        return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
    }

    static QByteArrayView trimmed(QByteArrayView v)
    {
        while (!v.isEmpty() && isSpace(v.front()))
            v = v.sliced(1);
        while (!v.isEmpty() && isSpace(v.back()))
            v.chop(1);
        return v;
    }

private:
    static bool isSeparator(char c, bool commas) { return isSpace(c) || (commas && c == ','); }

    const QByteArray &m_text;
    qsizetype m_pos = 0;
};
