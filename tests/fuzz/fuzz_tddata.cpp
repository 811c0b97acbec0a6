// The 2dData reader on arbitrary bytes: header parsing alone, then a whole load from a file.
#include "core/TDDataHeader.h"
#include "core/TDDataWL.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryFile>

#include <cstdint>

namespace {

void quiet(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool installed = (qInstallMessageHandler(quiet), true);
    (void)installed;
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));

    const TDDataHeader parsed = TDDataHeader::parse(bytes.left(64), bytes);
    (void)parsed;

    QTemporaryFile file(QStringLiteral("/dev/shm/fuzz_tddata_XXXXXX"));
    if (!file.open()) return 0;
    file.write(bytes);
    file.close();
    TDDataWL record(2, 2);
    if (record.load(file.fileName())) {
        // Whatever was accepted must be consistent and fully addressable.
        if (record.pixelCount() != qsizetype(record.width()) * record.height() &&
            record.pixelCount() != 0)
            __builtin_trap();
        volatile double sum = 0;
        for (qsizetype i = 0; i < record.pixelCount(); ++i)
            sum = sum + (record.isValid(i) ? 1.0 : 0.0) + record.value(i) * 0.0;
        (void)record.displayRange();
        (void)record.fileSafeId();
    }
    return 0;
}
