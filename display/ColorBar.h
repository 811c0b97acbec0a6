#pragma once

#include "display/ColorBar0.h"
#include "display/DispA.h"

#include <QColor>
#include <QPixmap>

class QPainter;

// The colour bar widget: paints the ramp with its two markers and turned value labels, and
// lets the user drag the nearer marker. cBarUpdating() fires on every move while a button
// is held, cBarUpdated() whenever the picture is redrawn and at the release.
class ColorBar : public DispA, public ColorBar0
{
    Q_OBJECT

public:
    static constexpr int kPictureWidth = 20;
    static constexpr int kPictureHeight = 600;

    explicit ColorBar(QWidget *parent = nullptr);

    const QPixmap &barPicture() const { return m_picture; }
    // Colour at height h of the canvas (0 at the bottom end of the ramp).
    Q_INVOKABLE QColor colorOfH(int h) const;

signals:
    void cBarUpdated();
    void cBarUpdating();

public slots:
    void paintCBar();
    void draw1(QPainter *p);
    void onMouseMoved();
    void onMousePressed();
    void onMouseReleased();

protected:
    void resizeEvent(QResizeEvent *e) override;
    void showEvent(QShowEvent *e) override;

private:
    double fractionAtMouse() const;
    // One picture row per screen row, so that the stretched picture shows no bands.
    void fitPictureToWidget();

    QPixmap m_picture{kPictureWidth, kPictureHeight};
};
