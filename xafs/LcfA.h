#pragma once

#include "xafs/StackEnergy.h"

#include <QList>
#include <QWidget>

#include <memory>

class DataCtrl;
class DataCtrls;
class FDGroup;
class ImgBase;
class LCFReference;
class LcfACtrl;
class QHBoxLayout;
class SpectrumPlot;
class TDDataWL;
class Ui_LcfA;

// An LCF analysis window: its own copy of an energy stack of images, each with its photon
// energy, the reference spectra, and a plot of the references with the stack's energies.
class LcfA : public QWidget
{
    Q_OBJECT

public:
    struct StackImage
    {
        TDDataWL *record = nullptr; // owned by entry
        DataCtrl *entry = nullptr;
        LcfACtrl *ctrl = nullptr;
        double energy = 0.0; // meaningful only when usable()
        StackEnergy::Status status = StackEnergy::Status::NotANumber;
        bool usable() const { return StackEnergy::isUsable(status); }
    };

    explicit LcfA(const QString &name, QWidget *parent = nullptr);
    ~LcfA() override;

    const QString &name() const { return m_name; }
    DataCtrls *dataCtrls() const { return m_dataCtrls; }
    ImgBase *imgBase() const { return m_imgBase.get(); }
    SpectrumPlot *plot() const { return m_plot; }
    // Room beside "+ Reference" for the controls of an analysis (a fit button).
    QHBoxLayout *toolLayout() const;

    // "LCFASize"/"-lcfs" for this window, "ImgBaseSize"/"-ibs" for its image window.
    void applyWindowSizes();

    // Copies source into the stack; its energy comes from "...eV" in its data id, else 9000.
    DataCtrl *addImage(const TDDataWL &source);
    // The stack in the order of the list, with each image's energy and whether a fit can use
    // it (a number above 0 that no other image shares).
    QList<StackImage> stack() const;

    LCFReference *addReference();
    void removeReference(LCFReference *reference);
    // All reference rows in order, loaded or not.
    QList<LCFReference *> references() const;
    // The rows a fit takes: usable spectra with "Use" ticked.
    QList<LCFReference *> referencesInFit() const;

    void sortByEnergy();
    // Shows the window and its image base (when ticked) and brings it to the front.
    void bringUp();

Q_SIGNALS:
    void stackChanged();
    void referencesChanged();

public Q_SLOTS:
    void showImgBase(bool f);

protected:
    void closeEvent(QCloseEvent *e) override;
    void showEvent(QShowEvent *e) override;

private:
    void energiesChanged();
    void referenceChanged();
    void refreshPlot();

    QString m_name;
    std::unique_ptr<Ui_LcfA> m_ui;
    DataCtrls *m_dataCtrls = nullptr;
    std::unique_ptr<ImgBase> m_imgBase;
    SpectrumPlot *m_plot = nullptr;
    FDGroup *m_dialogs = nullptr;
    int m_nextColour = 0;
};
