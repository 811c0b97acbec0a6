#pragma once

#include "xafs/LcfModel.h"
#include "xafs/StackEnergy.h"

#include <QList>
#include <QPointer>
#include <QWidget>

#include <memory>

class DataCtrl;
class DataCtrls;
class FDGroup;
class ImgBase;
class LCFReference;
class LcfACtrl;
class LcfFitRunner;
class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
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

    bool isFitting() const;
    // What the last fit, refusal or pointed pixel said.
    QString fitState() const;

Q_SIGNALS:
    void stackChanged();
    void referencesChanged();
    // A fit's output image; whoever is connected takes ownership. Without a receiver the
    // outputs join the window's own list.
    void newFittedData(TDDataWL *data);

public Q_SLOTS:
    void showImgBase(bool f);
    // Fits every pixel of the usable stack images against the references in use, off the
    // user-interface thread.
    void fit();
    void cancelFit();
    // Fits the pixel (ix, iy) of the stack and shows its fractions, weights and curves.
    void pointedAt(int ix, int iy);

protected:
    void closeEvent(QCloseEvent *e) override;
    void showEvent(QShowEvent *e) override;

private:
    // What a fit of the present stack and references takes.
    struct FitInput
    {
        LcfModel model;
        QList<QPointer<DataCtrl>> entries;        // at the model's energies
        QList<QPointer<LCFReference>> references; // in the model's order
        QStringList labels;
    };

    void setUpFitTools();
    LcfModel::FitKind chosenKind() const;
    // False with *error when the stack or the references cannot be fitted as they are.
    bool prepareFit(FitInput *input, QString *error) const;
    void fitFinished();
    void fitProgress(int percent);
    void showFitting(bool on);
    void rebuildReadout();
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

    QComboBox *m_fitKind = nullptr;
    QCheckBox *m_fitOffset = nullptr;
    QPushButton *m_fitButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_fitState = nullptr;
    LcfFitRunner *m_runner = nullptr;
    // The model the pointer read-out fits with, rebuilt when the stack or references change;
    // unbuilt while they cannot be fitted.
    FitInput m_readout;
    QStringList m_fitNames; // the references of the fit under way, for its summary
};
