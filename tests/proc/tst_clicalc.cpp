#include "Cli.h"
#include "core/TDDataWL.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>

class TestCliCalc : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void computesLikeThePanel();
};

void TestCliCalc::computesLikeThePanel()
{
    QTemporaryDir dir;
    QStringList files;
    for (int k = 0; k < 3; ++k) {
        TDDataWL r(4, 3);
        for (int i = 0; i < r.pixelCount(); ++i)
            r.setValue(i, (k + 1) * (i + 1.0), !(k == 1 && i == 5));
        r.setDataId(QStringLiteral("f%1").arg(k));
        files << dir.filePath(QStringLiteral("f%1.zmp").arg(k));
        QVERIFY(r.save(files.last()));
    }
    const QString outFile = dir.filePath(QStringLiteral("out.zmp"));
    const auto run = [&](QStringList args, QString *err = nullptr) {
        QString o, e;
        QTextStream out(&o), errs(&e);
        const int status = Cli::run(QStringList{QStringLiteral("calc")} + args, out, errs);
        if (err) *err = e;
        return status;
    };

    QCOMPARE(run({"--num", "I[2]", "--den", "I[1]", "--neg", files[0], files[1], files[2], "-o",
                  outFile}),
             0);
    TDDataWL back(0, 0);
    QVERIFY(back.load(outFile));
    QCOMPARE(back.dataId(), QStringLiteral("Cl[-log(I[2]/I[1])]"));
    QCOMPARE(back.value(0), -std::log(1.5));
    QVERIFY(!back.isValid(5));
    QCOMPARE(back.validCount(), 11);

    QCOMPARE(run({"--num", "2I[0]", "--no-log", files[0], "-o", outFile}), 0);
    QVERIFY(back.load(outFile));
    QCOMPARE(back.value(11), 24.0);
    QCOMPARE(back.dataId(), QStringLiteral("Cl[2I[0]/]"));

    QString err;
    QCOMPARE(run({"--num", "I[3]", files[0], files[1], files[2], "-o", outFile}, &err), 2);
    QVERIFY(err.contains(QLatin1String("I[3] names no file")));
    QCOMPARE(run({"--num", "I[0]I[1]", files[0], files[1], "-o", outFile}, &err), 2);
    QVERIFY(err.contains(QLatin1String("cannot read the formula")));
    QCOMPARE(run({"--num", "I[0]", files[0]}, &err), 2);
    QCOMPARE(run({"--num", "I[1]", files[0], dir.filePath("missing.zmp"), "-o", outFile}, &err), 1);
}

QTEST_MAIN(TestCliCalc)
#include "tst_clicalc.moc"
