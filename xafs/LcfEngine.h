#pragma once

#include "xafs/LcfModel.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class TDData0;
class TDDataWL;

// Fits every pixel of an energy stack with an LcfModel. The stack is read in place, block
// by block (each image streamed contiguously), on all cores for large stacks; the only
// large allocations are the output records. run() blocks: call it off the user-interface
// thread (a std::thread or a QRunnable) and relay progress from there.
class LcfEngine
{
public:
    struct Options
    {
        // Pixels done and pixels in all; called on the thread that called run().
        std::function<void(qsizetype done, qsizetype total)> progress;
        // Polled between blocks; when it turns true, run() stops and returns no records.
        const std::atomic<bool> *cancel = nullptr;
        // 0: every core for stacks large enough to gain from it.
        int threads = 0;
    };

    struct Result
    {
        bool cancelled = false;
        // One per reference, in the model's order: "LCF[<name>] w" and "LCF[<name>] f".
        std::vector<std::unique_ptr<TDDataWL>> weights;
        std::vector<std::unique_ptr<TDDataWL>> fractions;
        std::unique_ptr<TDDataWL> total;    // "LCF total"
        std::unique_ptr<TDDataWL> residual; // "LCF residual"
        std::unique_ptr<TDDataWL> offset;   // "LCF offset", only with an offset column
        std::vector<double> meanFractions;  // over the pixels whose fraction is valid
        qsizetype validPixels = 0;          // valid in every image
        qsizetype activeSetPixels = 0;      // pixels whose fit needed the active-set search

        bool ok() const { return total != nullptr; }
        // Hands the records over in the order weights, fractions, total, residual, offset.
        std::vector<std::unique_ptr<TDDataWL>> takeRecords();
    };

    // images[k] is at the model's energy k. Refuses (a result without records, *error says
    // why) an unbuilt model, a count that differs from the model's energies and an image
    // whose size differs from the first (labels name the files; "image k" when missing).
    // Outputs are one processing level above the highest TDDataWL input.
    static Result run(const LcfModel &model, const QList<const TDData0 *> &images,
                      const Options &options, QString *error, const QStringList &labels = {});

    // The pixel block each thread gathers at a time.
    static constexpr int kBlock = 256;
};
