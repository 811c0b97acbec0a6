// Draws the main window and the image window with files loaded into one PNG, offscreen:
// the pictures in the README are made with it.
//   zelmap-screenshot [--japanese] [--square] OUT.png FILE...
//   zelmap-screenshot [--japanese] --lcf OUT.png REFERENCE.dat... -- IMAGE...
// --square shows the images with square pixels, as the "SquarePixels" setting does; --lcf
// draws an LCF analysis window with the images as its stack and the references loaded.
#include "app/Body.h"
#include "app/ConfigStore.h"
#include "app/Startup.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "xafs/LCFReference.h"
#include "xafs/LcfA.h"
#include "xafs/XafsFileSelect.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QTextStream>
#include <QTranslator>

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QTextStream err(stderr);
    QTranslator translator;
    if (args.value(0) == QLatin1String("--japanese")) {
        args.removeFirst();
        if (Startup::loadTranslation(translator, QCoreApplication::applicationDirPath()))
            QCoreApplication::installTranslator(&translator);
    }
    if (args.value(0) == QLatin1String("--square")) {
        args.removeFirst();
        ConfigStore::instance().setValue(QStringLiteral("SquarePixels"), QStringLiteral("1"));
    }
    const bool lcf = args.value(0) == QLatin1String("--lcf");
    if (lcf) args.removeFirst();
    QStringList references;
    if (lcf) {
        const qsizetype split = args.indexOf(QStringLiteral("--"));
        if (split < 2) args.clear();
        else {
            references = args.mid(1, split - 1);
            args.remove(1, split);
        }
    }
    if (args.size() < 2) {
        err << "usage: zelmap-screenshot [--japanese] [--square] OUT.png FILE...\n"
               "       zelmap-screenshot [--japanese] --lcf OUT.png REFERENCE... -- IMAGE...\n";
        return 2;
    }
    const QString out = args.takeFirst();

    Body body;
    body.resize(720, 520);
    body.imgBase()->resize(760, 620);
    body.show();
    body.loadFilesSelected(args);
    QElapsedTimer timer;
    timer.start();
    while (body.dataCtrls()->count() < args.size() && timer.elapsed() < 20000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    DataCtrls *list = body.dataCtrls();
    if (list->count() == 0) {
        err << "zelmap-screenshot: no file could be loaded\n";
        return 1;
    }
    if (lcf) {
        for (int i = 0; i < list->count(); ++i)
            list->at(i)->findChild<QCheckBox *>(QStringLiteral("MultiSelA"))->setChecked(true);
        body.execLcfA();
        if (body.lcfWindows().isEmpty()) return 1;
        LcfA *window = body.lcfWindows().constFirst();
        window->imgBase()->hide();
        window->resize(900, 860);
        for (const QString &ref : std::as_const(references))
            window->addReference()->fileSelect()->fileSelected(ref);
        QCoreApplication::processEvents();
        if (!window->grab().save(out)) {
            err << "zelmap-screenshot: cannot write " << out << "\n";
            return 1;
        }
        return 0;
    }
    // A realistic moment: the first image chosen as S1, the next two ticked A.
    list->at(0)->findChild<QRadioButton *>(QStringLiteral("SingleSel1"))->setChecked(true);
    for (int i = 1; i < qMin(3, list->count()); ++i)
        list->at(i)->findChild<QCheckBox *>(QStringLiteral("MultiSelA"))->setChecked(true);
    if (auto *calc = body.findChild<QPushButton *>(QStringLiteral("Calc"))) calc->setChecked(true);
    QCoreApplication::processEvents();

    const QPixmap left = body.grab();
    const QPixmap right = body.imgBase()->grab();
    QImage sheet(left.width() + right.width() + 12, qMax(left.height(), right.height()),
                 QImage::Format_RGB32);
    sheet.fill(QColor(80, 80, 80));
    QPainter p(&sheet);
    p.drawPixmap(0, 0, left);
    p.drawPixmap(left.width() + 12, 0, right);
    p.end();
    if (!sheet.save(out)) {
        err << "zelmap-screenshot: cannot write " << out << "\n";
        return 1;
    }
    return 0;
}
