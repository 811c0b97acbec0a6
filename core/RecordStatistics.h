#pragma once

#include <QtGlobal>

class TDData0;

// Mean and spread of the valid, finite pixels of a record, computed afresh from the pixels.
struct RecordStatistics
{
    qsizetype validCount = 0;
    double mean = 0.0;
    double standardDeviation = 0.0; // population form; 0 for fewer than two pixels
    double validMin = 0.0;
    double validMax = 0.0;

    static RecordStatistics of(const TDData0 &record);
};
