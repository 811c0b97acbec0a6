#pragma once

#include "xafs/XafsSpectrum.h"

#include <QFrame>

#include <memory>

class QCheckBox;
class Ui_LCFReference;
class XafsFileSelect;

// One reference of an LCF analysis: chooses a spectrum file, loads and normalises it, shows
// its edge energy and jump, and carries the energy shift dE, the Victreen choice and the
// display of the weight that a fit gives it.
class LCFReference : public QFrame
{
    Q_OBJECT

public:
    explicit LCFReference(QWidget *parent = nullptr);
    ~LCFReference() override;

    // The normalised spectrum; read it through valueAt so that dE is applied.
    const XafsSpectrum &spectrum() const { return m_spectrum; }
    // The double-normalised value of this reference at photon energy e, shifted by dE: the
    // spectrum's feature at E appears at E + dE.
    double valueAt(double e) const { return m_spectrum.doubleNormalizedPreBase(e - m_dE); }
    double deltaE() const { return m_dE; }
    bool isVictreen() const;
    // The file's base name, empty before a file is chosen.
    QString referenceName() const;
    QString fileName() const;

    // A spectrum is loaded and its normalisation gave a finite edge energy, a non-zero
    // jump and finite normalised values.
    bool isUsable() const { return m_usable; }
    // Why the chosen file is not usable; empty when it is, or when none is chosen.
    QString problem() const { return m_problem; }
    // Usable and "Use" ticked: a fit takes this reference.
    bool isUsed() const;
    // Drawn in the spectrum plot.
    bool isShown() const;

    // Shows w x 100 in "R" ("%5.2f"); T takes a second result, in the general notation.
    void setWeight(double w);
    double weight() const { return m_weight; }
    void setT(double value);
    void clearResults();

    XafsFileSelect *fileSelect() const;
    QCheckBox *victreenBox() const;
    QCheckBox *showBox() const;

Q_SIGNALS:
    void newFileSelected();
    void newDeltaE();

public Q_SLOTS:
    void newFile(const QString &fname);
    void changedUse(bool use);
    void editedDeltaE();
    void toggledIsVictreen(bool);
    void setStd(bool isVic);

private:
    uint32_t fitKind() const;
    void cleared();
    // Re-derives usability; refreshes the E0 and jump fields when asked or when it changed.
    void assess(const QString &loadProblem, bool refreshFields);
    void showValues();

    std::unique_ptr<Ui_LCFReference> m_ui;
    XafsSpectrum m_spectrum;
    double m_dE = 0.0;
    double m_weight = 0.0;
    bool m_usable = false;
    QString m_problem;
};
