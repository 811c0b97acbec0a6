#pragma once

// Records, record files and raw files built for the tests.
#include "core/TDDataWL.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <functional>
#include <memory>

namespace RecordFixtures {

inline QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline bool writeAll(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// The statistics in one comparable list: minimum and maximum with zeros, then without.
inline QList<double> stats(const TDData0 &r)
{
    return {r.minWithZeros(), r.maxWithZeros(), r.minWithoutZeros(), r.maxWithoutZeros()};
}

// A w x h record named id holding value(i) at pixel i, valid where valid(i) (everywhere when
// not given), stored through setValue so that the statistics follow.
inline std::unique_ptr<TDDataWL> makeRecord(int w, int h, const QString &id,
                                            const std::function<double(qsizetype)> &value,
                                            const std::function<bool(qsizetype)> &valid = {})
{
    auto r = std::make_unique<TDDataWL>(w, h);
    r->setDataId(id);
    for (qsizetype i = 0; i < r->pixelCount(); ++i)
        r->setValue(i, value(i), !valid || valid(i));
    return r;
}

// The same record saved at path; the path, or an empty string when the save failed.
inline QString savedRecord(const QString &path, int w, int h, const QString &id,
                           const std::function<double(qsizetype)> &value,
                           const std::function<bool(qsizetype)> &valid = {})
{
    return makeRecord(w, h, id, value, valid)->save(path) ? path : QString();
}

} // namespace RecordFixtures
