// The 2dData reader on arbitrary bytes: header parsing alone, then a whole load from a file.
#include "FuzzSupport.h"
#include "core/TDDataHeader.h"
#include "core/TDDataWL.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceQtMessages();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    (void)TDDataHeader::parse(bytes.left(64), bytes);

    const QString path = FuzzSupport::writeScratch("input.zmp", data, size);
    if (path.isEmpty()) return 0;
    TDDataWL record(2, 2);
    if (record.load(path)) {
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
