#pragma once

#include <QObject>

class TDDataWL;

// One run of an image filter. A run builds a new record and hands it on through
// newFilteredData; the receiver owns it from then on.
class Filter : public QObject
{
    Q_OBJECT

public:
    int typeCode() const { return m_typeCode; }

Q_SIGNALS:
    void newFilteredData(TDDataWL *data);
    void filteringLine(int iy);
    void filterProcTime(qint64 time);

protected:
    explicit Filter(int typeCode, QObject *parent = nullptr);

private:
    const int m_typeCode;
};
