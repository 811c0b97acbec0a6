#include "proc/RgbComposite.h"

#include "core/TDData0.h"

#include <QFileInfo>
#include <QImageWriter>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

void RgbComposite::setChannel(Channel c, const TDData0 *record, double low, double high)
{
    m_channels[size_t(c)] = {record, low, high};
}

void RgbComposite::setRange(Channel c, double low, double high)
{
    m_channels[size_t(c)].low = low;
    m_channels[size_t(c)].high = high;
}

void RgbComposite::clear()
{
    m_channels = {};
}

bool RgbComposite::isEmpty() const
{
    return std::none_of(m_channels.begin(), m_channels.end(),
                        [](const Source &s) { return s.record != nullptr; });
}

QSize RgbComposite::size() const
{
    if (isEmpty()) return QSize();
    int w = std::numeric_limits<int>::max();
    int h = std::numeric_limits<int>::max();
    for (const Source &s : m_channels) {
        if (!s.record) continue;
        w = std::min(w, s.record->width());
        h = std::min(h, s.record->height());
    }
    return QSize(w, h);
}

int RgbComposite::level(double value, bool valid, double low, double high)
{
    if (!valid) return 0;
    if (low == high) return value >= high ? 255 : 0;
    const double t = (value - low) / (high - low);
    if (!(t > 0.0)) return 0; // also NaN
    if (t >= 1.0) return 255;
    return int(t * 255.0 + 0.5);
}

QImage RgbComposite::compose(QSize maxSize) const
{
    const QSize full = size();
    if (full.isEmpty()) return QImage();
    QSize out = full;
    if (maxSize.isValid() && (full.width() > maxSize.width() || full.height() > maxSize.height())) {
        const double f = std::min(double(maxSize.width()) / full.width(),
                                  double(maxSize.height()) / full.height());
        out = QSize(std::max(1, int(full.width() * f)), std::max(1, int(full.height() * f)));
    }

    std::vector<int> srcX(size_t(out.width()));
    for (int x = 0; x < out.width(); ++x)
        srcX[size_t(x)] = int(qint64(x) * full.width() / out.width());

    QImage img(out, QImage::Format_RGB32);
    img.fill(Qt::black);
    for (int y = 0; y < out.height(); ++y) {
        const int sy = int(qint64(y) * full.height() / out.height());
        auto *line = reinterpret_cast<QRgb *>(img.scanLine(y));
        for (int c = 0; c < 3; ++c) {
            const Source &s = m_channels[size_t(c)];
            if (!s.record) continue;
            const int shift = 16 - 8 * c;
            const qsizetype row = qsizetype(sy) * s.record->width();
            const double *v = s.record->values() + row;
            const quint8 *f = s.record->validFlags() + row;
            for (int x = 0; x < out.width(); ++x) {
                const int sx = srcX[size_t(x)];
                line[x] |= QRgb(level(v[sx], f[sx] != 0, s.low, s.high)) << shift;
            }
        }
    }
    return img;
}

bool RgbComposite::save(const QString &fileName, int jpegQuality) const
{
    const QImage img = compose();
    if (img.isNull()) return false;
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    const bool jpeg = suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg");
    QImageWriter writer(fileName, jpeg ? QByteArrayLiteral("jpeg") : QByteArrayLiteral("png"));
    if (jpeg) writer.setQuality(jpegQuality);
    return writer.write(img);
}
