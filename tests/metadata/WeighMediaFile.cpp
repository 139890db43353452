// Adds, opens and plays one file as the player does, and says what that takes: a line each with the longest work
// for an answer in milliseconds of the processor's time and the growth of the peak memory in KiB.

#include "decoder/DecoderModule.h"
#include "metadata/MediaAsset.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>
#include <cstdio>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t MostSamples = 20'000'000; // some codecs write hours of silence into a few bytes

qint64 memory(const char *figure)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        qFatal("/proc is missing.");
    const QByteArray text = status.readAll();
    const QByteArray rest = text.sliced(text.indexOf(figure) + qsizetype(qstrlen(figure)));
    return rest.first(rest.indexOf("kB")).trimmed().toLongLong();
}

qint64 worked()
{
    return qint64(std::clock()) * 1000 / CLOCKS_PER_SEC;
}

/// Runs `action`, which returns the longest work for an answer within it in milliseconds, and prints its line.
void weigh(const char *name, const auto &action)
{
    QFile reset(u"/proc/self/clear_refs"_s);
    if (!reset.open(QIODevice::WriteOnly) || reset.write("5") != 1)
        qFatal("The peak of the memory cannot be reset.");
    reset.close();
    const qint64 before = memory("VmRSS:");
    const qint64 wait = action();
    std::printf("%s %lld %lld\n", name, qlonglong(wait), qlonglong(memory("VmHWM:") - before));
    std::fflush(stdout);
}

qint64 add(const QUrl &url)
{
    const qint64 start = worked();
    (void)readMedia(url);
    return worked() - start;
}

qint64 play(const QUrl &url)
{
    const qint64 start = worked();
    auto file = openRegularFile(url);
    auto opened = DecoderModule::load().value()->open(file.take(), nullptr);
    qint64 wait = worked() - start;
    if (opened.isError())
        return wait;
    Decoder &decoder = *opened.value();
    const auto seek = [&](double seconds) {
        const qint64 before = worked();
        (void)decoder.seek(decoder.format().frames(seconds), {});
        wait = std::max(wait, worked() - before);
    };
    seek(decoder.duration() / 2);
    for (std::size_t samples = 0; samples < MostSamples;) {
        const qint64 before = worked();
        const auto block = decoder.read();
        wait = std::max(wait, worked() - before);
        if (block.isError() || block.value().samples.empty())
            break;
        samples += block.value().samples.size();
    }
    seek(0);
    return wait;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2 || DecoderModule::load().isError())
        qFatal("Usage: %s FILE, beside the decoder module", argv[0]);
    const QUrl url = QUrl::fromLocalFile(QString::fromLocal8Bit(argv[1]));
    weigh("add", [&] { return add(url); });
    weigh("play", [&] { return play(url); });
}
