#pragma once

#include "core/PixelBuffer.h"

#include <QList>
#include <QRect>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

class TDDataWL;

// What one pattern-matching run reads, fixed when the run starts: its own copy of the source
// pixels, the template and its energy, and the cosines, computed tile by tile on first demand
// and then shared read-only. Any thread may ask for rows. Tiles are taken in order, band by
// band, by whichever threads ask, at most one per core at a time: a thread that needs a band
// computes its tiles (or later ones, once all of its own are taken) and otherwise waits, and a
// thread whose band is ready takes one later tile first when a core is free, so that the
// cores stay busy ahead of the rows being asked for.
//
// A cosine is ST / sqrt(SS * a2) over the valid pixels of the window. ST comes from a
// cross-correlation by FFT of the masked image with the template and SS from compensated running
// box sums of the squared masked image; positions where the rounding of these cannot be bounded
// well below 1e-9 are summed directly instead.
class MatchingRun
{
public:
    static constexpr double kNoValue = -2.0;

    // Auto sums directly where that is cheaper than the FFT; Fft uses the FFT wherever it can
    // (for checking it on small images).
    enum class Method { Auto, Fft };

    // thresholdMode 2 asks for cosines accurate enough to take the arc-cosine of.
    MatchingRun(const TDDataWL &source, const QRect &rect, int thresholdMode,
                Method method = Method::Auto);
    ~MatchingRun();
    MatchingRun(const MatchingRun &) = delete;
    MatchingRun &operator=(const MatchingRun &) = delete;

    double a2() const { return m_a2; }
    bool canRun() const { return m_a2 > 0.0; }
    bool isFftBased() const { return m_fast; }
    // Template size as tw and th: the template holds (rw + 1) x (rh + 1) values, row by row.
    int rw() const { return m_kw - 1; }
    int rh() const { return m_kh - 1; }
    const double *templateValues() const { return m_template.data(); }

    // The processing rectangle clipped to the image, walked half-open.
    int left() const { return m_x0; }
    int right() const { return m_x1; }
    int top() const { return m_y0; }
    int bottom() const { return m_y1; }

    // The cosines of row y for columns left() to right(), kNoValue where there is none.
    QList<double> row(int y);
    // Computes every band; lets a spare thread work ahead of the rows being asked for.
    void computeAll();
    // Makes waiting and later rows return at once (with no values).
    void cancel() { m_cancelled.store(true, std::memory_order_relaxed); }

    // The direct sum at (x, y) over this run's copy of the source.
    double directValue(int x, int y) const;
    // The direct sum over a record and a template of (rw + 1) x (rh + 1) values; window pixels
    // outside the record count as invalid.
    static double directValue(const TDDataWL &data, int x, int y, int rw, int rh, const double *r,
                              double a2);

private:
    struct Band
    {
        std::atomic<int> done{0};
    };
    struct Fft;
    struct Scratch;

    void buildTemplate(const TDDataWL &source);
    void planTiles(Method method);
    void ensureBand(int band);
    // Takes and computes the next tile when a core is free (or, with wait, once one is);
    // false when no tile was left or, without wait, no core was free.
    bool computeNextTile(bool wait);
    void computeTile(int band, int tile, Scratch &s);

    int m_width = 0;
    int m_height = 0;
    int m_thresholdMode = 1;
    PixelBuffer<double> m_values; // invalid pixels hold 0
    PixelBuffer<quint8> m_valid;  // only for a template of infinite energy
    bool m_anySpecial = false;    // valid pixels that are not finite or too large for the FFT

    int m_kw = 0, m_kh = 0; // effective template size
    PixelBuffer<double> m_template;
    double m_a2 = 0.0;
    int m_x0 = 0, m_x1 = 0, m_y0 = 0, m_y1 = 0;

    bool m_fast = false;
    int m_nx = 0, m_ny = 0;     // FFT tile size
    int m_outW = 0, m_outH = 0; // outputs per tile
    int m_tilesX = 0, m_bandCount = 0;
    double m_templateScale = 1.0;  // the template's power-of-two scale in the FFT
    double m_t1 = 0.0, m_t2 = 0.0; // norms of the scaled template
    std::unique_ptr<Fft> m_fft;
    std::unique_ptr<Band[]> m_bands;
    std::atomic<int> m_nextTile{0}; // tiles numbered band by band
    PixelBuffer<double> m_cos;      // the rectangle's cosines, row by row
    // Working buffers of the tiles being computed, one set per core, reused from tile to tile.
    std::mutex m_scratchLock;
    std::condition_variable m_scratchFreed;
    std::vector<std::unique_ptr<Scratch>> m_scratch;
    std::vector<Scratch *> m_freeScratch;
    std::atomic<bool> m_cancelled{false};
};
