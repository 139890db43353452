// Stands in for a fuzzer where the compiler has none: REPLAY FOLDER COUNT runs the target on every file of
// the folder, then on COUNT seeded corruptions of each. Every single input has to end in bounded time.

#include "tests/fuzz/FuzzTarget.h"
#include "tests/playback/DamagedBytes.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 longest = 10'000; // milliseconds for one input, also with sanitizers on a busy machine

void run(const QByteArray &bytes, const QString &name, int seed)
{
    QElapsedTimer timer;
    timer.start();
    (void)LLVMFuzzerTestOneInput(
        reinterpret_cast<const std::uint8_t *>(bytes.constData()), std::size_t(bytes.size()));
    if (timer.elapsed() > longest)
        qFatal("%s, seed %d: %lld ms", qPrintable(name), seed, timer.elapsed());
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc != 3)
        qFatal("Usage: %s FOLDER COUNT", argv[0]);
    const QFileInfoList files = QDir(QString::fromLocal8Bit(argv[1])).entryInfoList(QDir::Files);
    const int count = QByteArray(argv[2]).toInt();
    if (files.isEmpty())
        qFatal("There are no files in %s.", argv[1]);
    for (const QFileInfo &info : files) {
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly))
            qFatal("%s cannot be read.", qPrintable(info.filePath()));
        const QByteArray bytes = file.readAll();
        run(bytes, info.fileName(), 0);
        for (int seed = 1; seed <= count; ++seed)
            run(DamagedBytes::corrupted(bytes, quint32(seed)), info.fileName(), seed);
    }
    qInfo("%lld inputs", files.size() * (1LL + count));
    return 0;
}
