#include "proc/PeakSearch.h"

#include "core/PixelBuffer.h"
#include "core/TDData0.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr double kStart = 1e300;

// The rectangle is cut into tiles that each remember their best live pixel; a tournament
// tree over the tiles gives the overall best at once. Excluding a disc only revisits the
// tiles whose best pixel it removed, so a run costs about one pass over the rectangle plus
// a little per peak instead of one pass per peak.
class TiledSearch
{
public:
    static constexpr int kTileW = 32;
    static constexpr int kTileH = 8;

    TiledSearch(const TDData0 &record, const QRect &rect, double sign)
        : m_values(record.values()), m_width(record.width()), m_rect(rect), m_sign(sign),
          m_threshold(-kStart * sign), m_live(qsizetype(rect.width()) * rect.height()),
          m_tilesX((rect.width() + kTileW - 1) / kTileW),
          m_tilesY((rect.height() + kTileH - 1) / kTileH)
    {
        const quint8 *valid = record.validFlags();
        for (int y = rect.top(); y <= rect.bottom(); ++y) {
            const qsizetype row = qsizetype(y) * m_width;
            quint8 *live = m_live.data() + qsizetype(y - rect.top()) * rect.width();
            for (int x = rect.left(); x <= rect.right(); ++x)
                live[x - rect.left()] =
                    valid[row + x] && m_values[row + x] * sign > m_threshold ? 1 : 0;
        }
        const qsizetype tiles = qsizetype(m_tilesX) * m_tilesY;
        m_best.assign(size_t(tiles), -1);
        m_leaves = 1;
        while (m_leaves < tiles)
            m_leaves *= 2;
        m_tree.assign(size_t(2 * m_leaves), -1);
        for (qsizetype t = 0; t < tiles; ++t) {
            scanTile(t);
            m_tree[size_t(m_leaves + t)] = m_best[size_t(t)];
        }
        for (qsizetype n = m_leaves - 1; n >= 1; --n)
            m_tree[size_t(n)] = better(m_tree[size_t(2 * n)], m_tree[size_t(2 * n + 1)]);
    }

    // Record index of the best live pixel, -1 when none is left.
    qint64 best() const { return m_tree.size() > 1 ? m_tree[1] : -1; }

    // Removes the live pixels p with (p - c)^2 < r2.
    void exclude(int cx, int cy, double r2)
    {
        const double reach = std::sqrt(r2);
        const double top = std::max(double(m_rect.top()), std::ceil(cy - reach));
        const double bottom = std::min(double(m_rect.bottom()), std::floor(cy + reach));
        if (!(top <= bottom)) return;
        const auto inside = [&](int x, double dy2) {
            const double dx = double(x) - cx;
            return dx * dx + dy2 < r2;
        };
        int minX = m_rect.right() + 1, maxX = m_rect.left() - 1;
        for (int y = int(top); y <= int(bottom); ++y) {
            const double dy = double(y) - cy;
            const double dy2 = dy * dy;
            const double rest = r2 - dy2;
            if (!(rest > 0)) continue;
            const double half = std::sqrt(rest);
            const double lo = std::max(double(m_rect.left()), std::ceil(cx - half));
            const double hi = std::min(double(m_rect.right()), std::floor(cx + half));
            if (!(lo <= hi + 1)) continue;
            int x0 = int(lo), x1 = int(std::max(hi, lo - 1));
            // The square root may be off by one ulp: settle the ends on the exact test.
            while (x0 <= x1 && !inside(x0, dy2))
                ++x0;
            while (x0 > m_rect.left() && inside(x0 - 1, dy2))
                --x0;
            while (x1 >= x0 && !inside(x1, dy2))
                --x1;
            while (x1 >= x0 && x1 < m_rect.right() && inside(x1 + 1, dy2))
                ++x1;
            if (x0 > x1) continue;
            quint8 *live = m_live.data() + qsizetype(y - m_rect.top()) * m_rect.width();
            std::fill(live + (x0 - m_rect.left()), live + (x1 - m_rect.left()) + 1, quint8(0));
            minX = std::min(minX, x0);
            maxX = std::max(maxX, x1);
        }
        if (minX > maxX) return;
        const int tx0 = (minX - m_rect.left()) / kTileW, tx1 = (maxX - m_rect.left()) / kTileW;
        const int ty0 = (int(top) - m_rect.top()) / kTileH;
        const int ty1 = (int(bottom) - m_rect.top()) / kTileH;
        for (int ty = ty0; ty <= ty1; ++ty) {
            for (int tx = tx0; tx <= tx1; ++tx) {
                const qsizetype t = qsizetype(ty) * m_tilesX + tx;
                const qint64 b = m_best[size_t(t)];
                if (b < 0 || liveAt(b)) continue; // its best survived: still its best
                scanTile(t);
                update(t);
            }
        }
    }

private:
    bool liveAt(qint64 index) const
    {
        const int x = int(index % m_width), y = int(index / m_width);
        return m_live[qsizetype(y - m_rect.top()) * m_rect.width() + (x - m_rect.left())] != 0;
    }

    qint64 better(qint64 a, qint64 b) const
    {
        if (a < 0) return b;
        if (b < 0) return a;
        const double va = m_values[a] * m_sign, vb = m_values[b] * m_sign;
        if (va > vb) return a;
        if (vb > va) return b;
        return a < b ? a : b;
    }

    void scanTile(qsizetype t)
    {
        const int tx = int(t % m_tilesX), ty = int(t / m_tilesX);
        const int x0 = m_rect.left() + tx * kTileW;
        const int x1 = std::min(x0 + kTileW - 1, m_rect.right());
        const int y0 = m_rect.top() + ty * kTileH;
        const int y1 = std::min(y0 + kTileH - 1, m_rect.bottom());
        double best = m_threshold;
        qint64 at = -1;
        for (int y = y0; y <= y1; ++y) {
            const qsizetype row = qsizetype(y) * m_width;
            const quint8 *live = m_live.data() + qsizetype(y - m_rect.top()) * m_rect.width();
            for (int x = x0; x <= x1; ++x) {
                if (!live[x - m_rect.left()]) continue;
                const double v = m_values[row + x] * m_sign;
                if (v > best) {
                    best = v;
                    at = row + x;
                }
            }
        }
        m_best[size_t(t)] = at;
    }

    void update(qsizetype t)
    {
        qsizetype n = m_leaves + t;
        m_tree[size_t(n)] = m_best[size_t(t)];
        for (n /= 2; n >= 1; n /= 2)
            m_tree[size_t(n)] = better(m_tree[size_t(2 * n)], m_tree[size_t(2 * n + 1)]);
    }

    const double *m_values;
    int m_width;
    QRect m_rect;
    double m_sign;
    double m_threshold;
    PixelBuffer<quint8> m_live;
    int m_tilesX;
    int m_tilesY;
    qsizetype m_leaves = 1;
    std::vector<qint64> m_best;
    std::vector<qint64> m_tree;
};

} // namespace

QRect PeakSearch::clipped(const TDData0 &record, const QRect &rect)
{
    const QRect r = rect.normalized() == rect ? rect : QRect();
    return r.intersected(QRect(0, 0, record.width(), record.height()));
}

qsizetype PeakSearch::listBound(const TDData0 &record, const QRect &rect)
{
    const QRect r = clipped(record, rect);
    return std::max(kMinListBound, r.isEmpty() ? 0 : qsizetype(r.width()) * r.height());
}

bool PeakSearch::extreme(const TDData0 &record, const QRect &rect, bool maxima, QPoint *found)
{
    const double sign = maxima ? 1.0 : -1.0;
    const QRect r = clipped(record, rect);
    double best = -kStart * sign;
    bool any = false;
    *found = QPoint(0, 0);
    if (r.isEmpty()) return false;
    const double *values = record.values();
    const quint8 *valid = record.validFlags();
    for (int y = r.top(); y <= r.bottom(); ++y) {
        const qsizetype row = qsizetype(y) * record.width();
        for (int x = r.left(); x <= r.right(); ++x) {
            if (!valid[row + x]) continue;
            const double v = values[row + x] * sign;
            if (v > best) {
                best = v;
                *found = QPoint(x, y);
                any = true;
            }
        }
    }
    return any;
}

QList<QPointF> PeakSearch::findPeaks(const TDData0 &record, const QRect &rect, double radius,
                                     qint64 count, bool maxima)
{
    QList<QPointF> peaks;
    if (count <= 0) return peaks;
    const qsizetype total = qsizetype(std::min<qint64>(count, listBound(record, rect)));
    const QRect r = clipped(record, rect);
    if (r.isEmpty()) {
        peaks.fill(QPointF(0, 0), total);
        return peaks;
    }
    const double r2 = radius * radius;
    // Without a positive squared radius (0 or NaN) nothing is ever excluded: every search
    // finds the first one's pixel again.
    const bool excludes = r2 > 0;
    TiledSearch search(record, r, maxima ? 1.0 : -1.0);
    peaks.reserve(std::min<qsizetype>(total, 4096));
    while (peaks.size() < total) {
        const qint64 at = search.best();
        if (at < 0) break; // nothing qualifies now, and exclusion only removes pixels
        const int x = int(at % record.width()), y = int(at / record.width());
        if (!excludes) {
            peaks.fill(QPointF(x, y), total);
            return peaks;
        }
        peaks.append(QPointF(x, y));
        search.exclude(x, y, r2);
    }
    while (peaks.size() < total)
        peaks.append(QPointF(0, 0));
    return peaks;
}
