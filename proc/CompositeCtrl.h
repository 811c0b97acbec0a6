#pragma once

#include "proc/RgbComposite.h"

#include <QFrame>
#include <QList>
#include <QPointer>

#include <array>
#include <memory>

class DataCtrls;
class QLineEdit;
class TDDataWL;
class Ui_CompositeCtrl;
class _FileDialog;

// The first three images of selection A as red, green and blue, each through its own
// value range, with a live preview; saved as PNG or JPEG.
class CompositeCtrl : public QFrame
{
    Q_OBJECT

public:
    explicit CompositeCtrl(DataCtrls *dataCtrls, QWidget *parent = nullptr);
    ~CompositeCtrl() override;

    const RgbComposite &composite() const { return m_composite; }
    _FileDialog *saveDialog() const { return m_saveDialog; }

    static constexpr int kPreviewSide = 256;

Q_SIGNALS:
    void compositeSaved(QString fileName);

public Q_SLOTS:
    void selsChanged(int selS1Idx, int selS2Idx, QList<bool> selsA, QList<bool> selsB);
    // Each channel back to its image's display range.
    void resetRanges();
    // Writes the full-size picture; a name without a known suffix gets the chosen filter's.
    bool saveComposite(QString fileName);
    void openSaveDialog();

private:
    struct ChannelWidgets
    {
        QLineEdit *name;
        QLineEdit *low;
        QLineEdit *high;
    };
    void rangeEdited();
    void showRanges();
    void updatePreview();

    std::unique_ptr<Ui_CompositeCtrl> m_ui;
    QPointer<DataCtrls> m_dataCtrls;
    std::array<QPointer<TDDataWL>, 3> m_records;
    std::array<ChannelWidgets, 3> m_widgets{};
    RgbComposite m_composite;
    _FileDialog *m_saveDialog = nullptr;
};
