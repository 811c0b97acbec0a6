#pragma once

#include <QColor>
#include <QFrame>
#include <QList>
#include <QPolygonF>
#include <QString>

class DispA;
class QLabel;
class QPainter;

// A plot of spectra against photon energy on the program's canvas: curves with their edge
// energies marked, the energies of an image stack as ticks on the energy axis, and extra
// layers (points or lines) that an analysis can lay over them. Wheel zoom, right-drag box
// zoom and Shift+left-drag pan come from the canvas; a double click shows everything again.
class SpectrumPlot : public QFrame
{
    Q_OBJECT

public:
    struct Curve
    {
        QPolygonF points; // (E, value), E already shifted as it is to be shown
        QColor colour;
        QString label;
        double e0 = 0.0; // where the edge mark goes, shifted like the points
        bool faded = false;
    };
    struct Layer
    {
        QPolygonF points;
        QColor colour;
        bool asPoints = false;
        QString label;
    };

    explicit SpectrumPlot(QWidget *parent = nullptr);

    void setCurves(const QList<Curve> &curves);
    const QList<Curve> &curves() const { return m_curves; }
    // Stack energies: usable ones as dark ticks, questionable ones in orange.
    void setEnergies(const QList<double> &usable, const QList<double> &flagged);
    const QList<double> &energies() const { return m_energies; }
    // Drawn over the curves; an empty list removes them.
    void setLayers(const QList<Layer> &layers);
    const QList<Layer> &layers() const { return m_layers; }

    DispA *canvas() const { return m_canvas; }
    // The range that shows all curves' edges and the stack energies.
    QRectF autoRange() const;

public Q_SLOTS:
    void resetScale();

private:
    void contentChanged();
    void drawAxes(QPainter *p);
    void drawCurves(QPainter *p);
    void drawMarks(QPainter *p);
    QRectF plotRect() const;

    DispA *m_canvas = nullptr;
    QLabel *m_readout = nullptr;
    QList<Curve> m_curves;
    QList<double> m_energies;
    QList<double> m_flagged;
    QList<Layer> m_layers;
    QRectF m_lastAuto;
};
