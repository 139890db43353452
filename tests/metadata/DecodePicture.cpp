// Decodes the picture in the file that is named, at the largest size that is drawn, and prints whether there was
// one, the most kibibytes that this took at a time, and the milliseconds of processor time.

#include "metadata/PictureDecoder.h"

#include <QFile>
#include <cstdio>
#include <ctime>

namespace {

constexpr QSize Drawn(760, 760); // the large cover at scale 4

/// A number of the process's status in the kernel's account.
long statusKibibytes(const char *name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const QByteArray behind = text.sliced(text.indexOf(name) + qsizetype(qstrlen(name))).trimmed();
    return behind.first(behind.indexOf(' ')).toLong();
}

/// The most memory that is counted is from now on what is taken now.
void forgetPeak()
{
    QFile marks(QStringLiteral("/proc/self/clear_refs"));
    if (!marks.open(QIODevice::WriteOnly) || marks.write("5") != 1)
        qFatal("The kernel does not count.");
}

bool isDrawn(const char *path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly) && !decodedPicture(file.readAll(), Drawn, false).isNull();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3 || !isDrawn(argv[1])) // from now on all that pictures need is loaded
        qFatal("Usage: decode-picture SOUND-PICTURE PICTURE");
    forgetPeak();
    const long before = statusKibibytes("VmRSS:");
    const std::clock_t start = std::clock();
    const char *const answer = isDrawn(argv[2]) ? "drawn" : "refused";
    const std::clock_t time = std::clock() - start;
    std::printf("%s %ld %ld\n", answer, statusKibibytes("VmHWM:") - before, time * 1000 / CLOCKS_PER_SEC);
    return 0;
}
