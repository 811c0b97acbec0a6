// The configuration parser on arbitrary text: file lines, INCLUDE, the item splitter and
// the command-line parser.
#include "FuzzSupport.h"
#include "app/ConfigStore.h"
#include "app/ItemSplitter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceQtMessages();
    // Two files that include each other by the names a fuzzer can guess; a relative
    // INCLUDE is found beside the including file. Nothing here writes a file.
    const QString first = FuzzSupport::writeScratch("a.cfg", data, size);
    if (first.isEmpty() || FuzzSupport::writeScratch("b", data, size).isEmpty()) return 0;
    ConfigStore store;
    store.readFile(first);
    (void)store.value(QStringList{QStringLiteral("A"), QStringLiteral("-a")}, QStringLiteral("d"));

    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    QString rest = text;
    for (int guard = 0; guard <= text.size() && !rest.isEmpty(); ++guard)
        ItemSplitter::take(rest, &rest);

    ConfigStore cl;
    cl.parseCommandLine(text.split(QLatin1Char(' ')), false, QStringLiteral("config.cfg"),
                        {QStringLiteral("-c"), QStringLiteral("-config")});
    (void)cl.value(QStringLiteral("-c"));
    return 0;
}
