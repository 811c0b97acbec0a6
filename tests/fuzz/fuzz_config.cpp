// The configuration parser on arbitrary text: file lines, INCLUDE, the item splitter and
// the command-line parser.
#include "app/ConfigStore.h"
#include "app/ItemSplitter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdint>

namespace {

void quiet(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool installed = (qInstallMessageHandler(quiet), true);
    (void)installed;
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));

    // Files that include each other by the names a fuzzer can guess.
    // Relative INCLUDE names resolve here, never in the directory the fuzzer was started in.
    static QTemporaryDir dir(QStringLiteral("/dev/shm/fuzz_config_XXXXXX"));
    static const bool entered = dir.isValid() && QDir::setCurrent(dir.path());
    if (!entered) return 0;
    for (const char *name : {"a.cfg", "b"}) {
        QFile f(dir.filePath(QString::fromLatin1(name)));
        if (!f.open(QIODevice::WriteOnly)) return 0;
        f.write(bytes);
    }
    ConfigStore store;
    store.readFile(dir.filePath(QStringLiteral("a.cfg")));
    (void)store.value(QStringList{QStringLiteral("A"), QStringLiteral("-a")}, QStringLiteral("d"));

    const QString text = QString::fromUtf8(bytes);
    QString rest = text;
    for (int guard = 0; guard <= text.size() && !rest.isEmpty(); ++guard)
        ItemSplitter::take(rest, &rest);

    ConfigStore cl;
    cl.parseCommandLine(text.split(QLatin1Char(' ')), false, QStringLiteral("config.cfg"),
                        {QStringLiteral("-c"), QStringLiteral("-config")});
    (void)cl.value(QStringLiteral("-c"));
    return 0;
}
