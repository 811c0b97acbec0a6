#include "io/TextMatrixReader.h"

#include "io/ImgFile.h"
#include "io/TextLineReader.h"

#include <QFile>

#include <vector>

namespace {

// The header number after a 7-character key; 0 when it is not an integer.
int headerNumber(QByteArrayView line)
{
    bool ok = false;
    const int n = QByteArray(line.sliced(7).data(), line.size() - 7).simplified().toInt(&ok);
    return ok ? n : 0;
}

} // namespace

bool TextMatrixReader::read(const QString &fileName, ImgFile &img)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) return false;
    // Refuse at once without reading a whole unrelated file.
    QByteArray first = file.readLine(64);
    if (!first.startsWith("## 240301")) return false;
    const QByteArray text = first + file.readAll();
    file.close();

    TextLineReader lines(text);
    lines.next();
    img.setFileName(fileName);
    int width = 0;
    int height = 0;
    bool inData = false;
    std::vector<double> rows;
    std::vector<double> current;
    int rowCount = 0;
    while (!lines.atEnd()) {
        const QByteArrayView line = lines.next();
        if (!inData) {
            if (line.startsWith('#')) {
                if (line.startsWith("# X-NUM"))
                    width = headerNumber(line) - 1;
                else if (line.startsWith("# Y-NUM"))
                    height = headerNumber(line) - 1;
                continue;
            }
            // A negative width (no number) is refused too: its rows would take 2^32 doubles.
            if (width <= 0 || height == 0) return false;
            inData = true;
        }
        QByteArrayView items[3];
        const double v =
            TextLineReader::split(line, items, 3, true) >= 3 ? items[2].toDouble() : 0.0;
        current.push_back(v);
        img.widen(v);
        if (current.size() == size_t(width)) {
            rows.insert(rows.end(), current.begin(), current.end());
            current.clear();
            ++rowCount;
        }
    }
    img.adoptDoubleRows(ImgFile::TextD, width, height, rows, rowCount);
    img.setFormatName(QStringLiteral("text matrix"));
    img.renderPreview();
    return true;
}
