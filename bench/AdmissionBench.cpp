// What admitting files costs: microseconds a file beside a bare TagLib read of the same files in the same
// run, and the memory that they add, for 1,000 and for 10,000 tagged MP3 files, twelve of which share a cover, and
// for 3,000 with larger covers. Needs 1.2 GB in the temporary folder.

#include "metadata/MediaAsset.h"
#include "player/PayerManager.h"
#include "tests/TaggedFile.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QRandomGenerator>
#include <algorithm>
#include <cstdio>
#include <malloc.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int TracksPerAlbum = 12;
constexpr int Rounds = 5;

// The files

/// A square picture of noise: about 88 KB with 400 pixels a side, 380 KB with 832.
QByteArray noiseCover(int side)
{
    QImage image(side, side, QImage::Format_RGB32);
    QRandomGenerator random(1);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, random.generate());
    }
    return encoded(image, "JPEG", 70);
}

/// The cover with a comment that makes it one album's own.
QByteArray albumCover(const QByteArray &cover, int album)
{
    const QByteArray comment = QByteArray::number(album).rightJustified(8, '0');
    return cover.first(2) + QByteArray("\xff\xfe\0\x0a", 4) + comment + cover.sliced(2);
}

QByteArray latin1Text(const QString &text)
{
    return '\0' + text.toLatin1();
}

QByteArray trackTag(int number, const QByteArray &cover)
{
    const int album = number / TracksPerAlbum;
    return id3v2Tag(id3v2Frame("TIT2", latin1Text(u"The title of track %1"_s.arg(number)))
        + id3v2Frame("TPE1", latin1Text(u"The artist of album %1"_s.arg(album)))
        + id3v2Frame("TALB", latin1Text(u"Album number %1"_s.arg(album)))
        + id3v2Picture(albumCover(cover, album)));
}

QList<QUrl> makeFiles(const QTemporaryDir &folder, int count, const QByteArray &cover)
{
    QFile sound(QStringLiteral(TEST_MEDIA "/song.mp3"));
    if (!sound.open(QIODevice::ReadOnly))
        qFatal("The sound file is missing.");
    const QByteArray bytes = sound.readAll();

    QList<QUrl> urls;
    for (int number = 0; number < count; ++number) {
        QFile file(folder.filePath(u"%1 track.mp3"_s.arg(number)));
        if (!file.open(QIODevice::WriteOnly) || file.write(trackTag(number, cover) + bytes) < 0)
            qFatal("The temporary folder is full.");
        urls.append(QUrl::fromLocalFile(file.fileName()));
    }
    return urls;
}

// The two ways to read them

/// Needs no file and makes no sound.
class SilentPlayer : public AudioPlayer {
public:
    void setDelegate(AudioPlayerDelegate *) override { }
    void setVolume(float) override { }
    bool prepareToPlay() override { return true; }
    bool play() override { return true; }
    void pause() override { }
    void stop() override { }
    void setCurrentTime(double) override { }
    void setSuccessor(const QUrl &, const SoundLabel &) override { }
    void dropSuccessor() override { }
    std::shared_ptr<AudioPlayer> takeSuccessor() override { return nullptr; }
    [[nodiscard]] State state() const override { return {}; }
};

/// All that a track shows, read by TagLib and thrown away.
void bareRead(const QList<QUrl> &urls)
{
    quint64 seen = 0;
    for (const QUrl &url : urls) {
        const QByteArray path = QFile::encodeName(url.toLocalFile());
        const TagLib::FileRef file(path.constData());
        const TagLib::Tag *tag = file.tag();
        seen += tag->title().size() + tag->artist().size() + tag->album().size();
        seen += static_cast<quint64>(file.audioProperties()->lengthInMilliseconds());
        const auto &frames =
            dynamic_cast<TagLib::MPEG::File *>(file.file())->ID3v2Tag()->frameListMap()["APIC"];
        seen += dynamic_cast<TagLib::ID3v2::AttachedPictureFrame *>(frames.front())->picture().size();
    }
    if (seen == 0)
        qFatal("Nothing was read.");
}

std::unique_ptr<PlayerManager> admit(const QList<QUrl> &urls)
{
    PlatformServices services;
    services.openAudioPlayer = [](const QUrl &, const SoundLabel &) {
        return std::shared_ptr<AudioPlayer>(new SilentPlayer);
    };
    auto manager = std::make_unique<PlayerManager>(services);
    manager->addFiles(urls);
    const Track &last = manager->playlist().last();
    if (manager->playlist().size() != urls.size() || !last.artwork || !last.title.startsWith(u"The title"))
        qFatal("The files were not read.");
    return manager;
}

// Measuring

template <typename Work> double microsecondsPerFile(qsizetype files, Work work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1000 / double(files);
}

double allocatedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks) + double(info.hblkhd);
}

double residentBytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').at(1).toDouble() * double(sysconf(_SC_PAGESIZE));
}

/// The same addresses, of which nothing is shared with anybody.
QList<QUrl> detached(const QList<QUrl> &urls)
{
    QList<QUrl> copies;
    for (const QUrl &url : urls)
        copies.append(QUrl(url.toString()));
    return copies;
}

/// Prints the memory that one admission adds, covers included.
void measureMemory(const QList<QUrl> &urls)
{
    const double allocatedBefore = allocatedBytes(), residentBefore = residentBytes();
    const auto manager = admit(detached(urls));
    const double allocated = allocatedBytes() - allocatedBefore, resident = residentBytes() - residentBefore;
    std::printf("%6lld files  memory: %.1f MiB allocated, %.1f MiB resident, %.2f KiB allocated a track\n",
        static_cast<long long>(urls.size()), allocated / (1 << 20), resident / (1 << 20),
        allocated / double(urls.size()) / 1024);
}

/// Before anything else has been read, and for the same reason only once in a process.
void measureLargeCovers()
{
    const QTemporaryDir folder;
    const QByteArray cover = noiseCover(832);
    const QList<QUrl> urls = makeFiles(folder, 3'000, cover);
    admit(urls.first(TracksPerAlbum)); // from now on all that reads files is loaded
    std::printf("covers of %lld bytes, each shared by %d tracks\n", static_cast<long long>(cover.size()),
        TracksPerAlbum);
    measureMemory(urls);
}

struct Times {
    double bare = 1e9;
    double admission = 1e9;
};

/// The best of several rounds of both, in turns, over all of `batches`, each of which is admitted by a new
/// player. Microseconds a file.
Times measureTimes(const QList<QList<QUrl>> &batches)
{
    const qsizetype batchSize = batches.first().size();
    const qsizetype files = batches.size() * batchSize;
    Times best;
    for (int round = 0; round < Rounds; ++round) {
        best.bare = std::min(best.bare, microsecondsPerFile(files, [&] {
            for (const QList<QUrl> &urls : batches)
                bareRead(urls);
        }));
        best.admission = std::min(best.admission, microsecondsPerFile(files, [&] {
            for (const QList<QUrl> &urls : batches)
                admit(urls);
        }));
    }
    std::printf("%6lld files  bare TagLib read: %.1f us a file, admission: %.1f us a file, ratio %.2f\n",
        static_cast<long long>(batchSize), best.bare, best.admission, best.admission / best.bare);
    return best;
}

/// Prints what it takes to add one file to 100,000, at best.
void measureOneMore(const QList<QUrl> &urls)
{
    const auto manager = admit(urls.first(1));
    QList<Track> tracks;
    for (int number = 0; number < 100'000; ++number)
        tracks.append(Track(QUrl(u"file:///music/%1 track.mp3"_s.arg(number)), MediaAsset()));
    manager->playlist = std::move(tracks);
    double first = 0, least = 1e9;
    for (int number = 1; number < 100; ++number) {
        const double time = microsecondsPerFile(1, [&] { manager->addFiles({urls.at(number)}); });
        first = number == 1 ? time : first;
        least = std::min(least, time);
    }
    std::printf(
        "one file more to 100,000: %.0f us; the first after the list was written from outside: %.0f us\n",
        least, first);
}

/// Cuts `urls` into lists of `size`.
QList<QList<QUrl>> batchesOf(const QList<QUrl> &urls, qsizetype size)
{
    QList<QList<QUrl>> batches;
    for (qsizetype i = 0; i < urls.size(); i += size)
        batches.append(urls.sliced(i, size));
    return batches;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    measureLargeCovers();
    const QTemporaryDir folder;
    const QByteArray cover = noiseCover(400);
    std::printf("covers of %lld bytes\n", static_cast<long long>(cover.size()));

    const QList<QUrl> many = makeFiles(folder, 10'000, cover);
    bareRead(many); // from now on all files are in the system's memory
    admit(many.first(100));

    measureMemory(many.first(1'000));
    measureMemory(many);
    const Times few = measureTimes(batchesOf(many, 1'000));
    const Times all = measureTimes({many});
    std::printf("10,000 files cost %.2f times what 1,000 cost\n", 10 * all.admission / few.admission);
    measureOneMore(many);
}
