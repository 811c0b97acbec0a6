#include "../support/RecordFixtures.h"

#include "app/AppState.h"
#include "app/FDGroup.h"
#include "app/SelectImgDialog.h"
#include "app/SelectLoadFileDialog.h"
#include "app/_FileDialog.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFile>
#include <QListView>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// Exposes how many connections hang on the dialog's signals.
class CountingDialog : public _FileDialog
{
public:
    using _FileDialog::_FileDialog;
    int currentChangedReceivers() const { return receivers(SIGNAL(currentChanged(QString))); }
    int directoryEnteredReceivers() const { return receivers(SIGNAL(directoryEntered(QString))); }
};

QString canonical(const QString &dir)
{
    return QDir(dir).canonicalPath();
}

} // namespace

class TstFileDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_tmp.isValid());
        m_oldRoot = AppState::dataRoot();
    }
    void cleanupTestCase() { AppState::setDataRoot(m_oldRoot); }
    void dialogsStartInDataRoot();
    void groupAddsOnceAndForgetsDestroyed();
    void enteredDirectoryIsFollowedCanonically();

private:
    QString makeDir(const QString &name)
    {
        const QString path = m_tmp.filePath(name);
        return QDir().mkpath(path) ? canonical(path) : QString();
    }

    QTemporaryDir m_tmp;
    QString m_oldRoot;
};

void TstFileDialogs::dialogsStartInDataRoot()
{
    const QString root = makeDir(u"root"_s);
    QVERIFY(!root.isEmpty());
    AppState::setDataRoot(root);

    _FileDialog plain(u"Save Data"_s);
    QVERIFY(plain.testOption(QFileDialog::DontUseNativeDialog) && !plain.isModal());
    QCOMPARE(plain.windowTitle(), u"Save Data"_s);
    QCOMPARE(canonical(plain.directory().absolutePath()), root);

    // One file only: the file list itself refuses a second selection.
    for (const bool single : {true, false}) {
        SelectImgDialog d(single, u"one"_s);
        QCOMPARE(d.fileMode(), single ? QFileDialog::ExistingFile : QFileDialog::ExistingFiles);
        QCOMPARE(d.acceptMode(), QFileDialog::AcceptOpen);
        QCOMPARE(d.findChild<QListView *>(u"listView"_s)->selectionMode(),
                 single ? QAbstractItemView::SingleSelection
                        : QAbstractItemView::ExtendedSelection);
    }
}

void TstFileDialogs::groupAddsOnceAndForgetsDestroyed()
{
    const QString next = makeDir(u"n"_s);
    AppState::setDataRoot(makeDir(u"s"_s));
    FDGroup group;
    CountingDialog a(u"a"_s);
    auto b = std::make_unique<CountingDialog>(u"b"_s);
    _FileDialog c(u"c"_s);
    const int baseCurrent = a.currentChangedReceivers();
    const int baseEntered = a.directoryEnteredReceivers();
    for (QFileDialog *d : QList<QFileDialog *>{&a, &a, b.get(), &a, &c, nullptr})
        group.addDialog(d);
    QCOMPARE(group.dialogs(), QList<QFileDialog *>({&a, b.get(), &c}));
    QCOMPARE(QList<int>({a.currentChangedReceivers(), a.directoryEnteredReceivers(),
                         b->currentChangedReceivers()}),
             QList<int>({baseCurrent + 1, baseEntered + 1, baseCurrent + 1}));

    b.reset();
    QCOMPARE(group.dialogs(), QList<QFileDialog *>({&a, &c}));
    emit a.directoryEntered(next);
    QCOMPARE(c.directory().absolutePath(), next);
}

void TstFileDialogs::enteredDirectoryIsFollowedCanonically()
{
    const QString target = makeDir(u"target"_s);
    AppState::setDataRoot(makeDir(u"start"_s));
    const QString link = m_tmp.filePath(u"link"_s);
    QVERIFY(QFile::link(target, link));
    QVERIFY(QDir().mkpath(target + u"/sub"_s));
    QVERIFY(RecordFixtures::writeAll(target + u"/spectrum.dat"_s, "1 2\n"));

    SelectImgDialog a(false, u"a"_s);
    _FileDialog b(u"b"_s);
    SelectLoadFileDialog c(u"c"_s);
    FDGroup group;
    for (QFileDialog *d : QList<QFileDialog *>{&a, &b, &c})
        group.addDialog(d);
    const auto allIn = [&](const QString &dir) {
        for (const QFileDialog *d : QList<const QFileDialog *>{&a, &b, &c})
            QCOMPARE(d->directory().absolutePath(), dir);
    };

    // Through a link and a "..": every dialog lands in the real directory.
    emit b.directoryEntered(link + u"/sub/.."_s);
    allIn(target);
    emit c.directoryEntered(target + u"/sub"_s);
    allIn(target + u"/sub"_s);
    // A file clicked in one dialog moves all to the file's directory, not into the file.
    a.setDirectory(link);
    a.show();
    auto *list = a.findChild<QListView *>(u"listView"_s);
    QTRY_COMPARE(list->model()->rowCount(list->rootIndex()), 2);
    const QModelIndexList file = list->model()->match(list->model()->index(0, 0, list->rootIndex()),
                                                      Qt::DisplayRole, u"spectrum.dat"_s);
    QCOMPARE(file.size(), 1);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(file[0]).center());
    allIn(target);
    // Paths that lead nowhere move nothing.
    emit a.currentChanged(QString());
    emit a.directoryEntered(m_tmp.filePath(u"missing"_s));
    allIn(target);
}

QTEST_MAIN(TstFileDialogs)
#include "tst_filedialogs.moc"
