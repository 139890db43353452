// What the window costs with a long playlist: a tick of the progress timer with 10,000 rows, a frame of
// scrolling through 100,000 rows, the decoded covers that this leaves in memory, and what a cover takes to come. Without a display it draws
// into memory; QT_SCALE_FACTOR=2 draws four times the pixels.

#include "player/PayerManager.h"
#include "tests/TaggedFile.h"
#include "ui/ContentView.h"
#include "ui/controls/Slider.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QListView>
#include <QRandomGenerator>
#include <QScrollBar>
#include <algorithm>
#include <cstdio>
#include <malloc.h>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int TracksPerAlbum = 12;

/// The cover of an album: 600 × 600 pixels in a colour of its own.
std::optional<Artwork> albumCover(CoverFiles &files, int album)
{
    QImage image(600, 600, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(album % 360, 90 + album / 360 % 160, 200));
    return files.artwork(encoded(image, "JPEG", 85));
}

QList<Track> tracks(CoverFiles &files, int count)
{
    QList<Track> tracks;
    tracks.reserve(count);
    std::optional<Artwork> cover;
    for (int i = 0; i < count; ++i) {
        if (i % TracksPerAlbum == 0)
            cover = albumCover(files, i / TracksPerAlbum);
        Track track(QUrl::fromLocalFile(u"/none/%1.mp3"_s.arg(i)));
        track.artist = u"Artista %1"_s.arg(i % 500);
        track.duration = 180 + i % 100;
        track.artwork = cover;
        tracks.append(track);
    }
    return tracks;
}

/// Prints median, 95th percentile and maximum of times in nanoseconds.
void print(const char *what, std::vector<qint64> times)
{
    std::sort(times.begin(), times.end());
    const auto at = [&](double part) {
        return static_cast<double>(
                   times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))])
            / 1e6;
    };
    std::printf("%-42s %8.3f %8.3f %8.3f\n", what, at(0.5), at(0.95), at(1));
}

/// Knows whether a widget has been painted.
class PaintWatch : public QObject {
public:
    explicit PaintWatch(QWidget &widget) { widget.installEventFilter(this); }

    [[nodiscard]] bool takePainted() { return std::exchange(m_isPainted, false); }

    void waitForPainting()
    {
        while (!takePainted())
            QCoreApplication::processEvents();
    }

private:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_isPainted = m_isPainted || event->type() == QEvent::Paint;
        return false;
    }

    bool m_isPainted = false;
};

/// The nanoseconds of each of `count` changes until `shown`, and all else, has been painted for it.
template <typename Change> std::vector<qint64> measure(QWidget &shown, int count, Change change)
{
    PaintWatch watch(shown);
    std::vector<qint64> times;
    QElapsedTimer timer;
    for (int i = 1; i <= count; ++i) {
        timer.start();
        change(i);
        watch.waitForPainting();
        times.push_back(timer.nsecsElapsed());
    }
    return times;
}

double heapMebibytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1 << 20);
}

void measureTicks(PlayerManager &player, CoverFiles &files, QWidget &seekBar)
{
    player.playlist = tracks(files, 10'000);
    player.currentTrack = player.playlist().last();
    player.duration = 300;
    player.isPlaying = true;
    QCoreApplication::processEvents();
    const auto tick = [&](int i) { player.currentTime = i * 0.25; };
    print("tick, 10,000 rows, ms", measure(seekBar, 1000, tick));
}

/// The nanoseconds of each frame while the list scrolls 60 times a second: those for the new place, and those for
/// the covers that come after it.
std::vector<qint64> measureFrames(QListView &list, int count, int step)
{
    constexpr qint64 untilNextStep = 16; // milliseconds
    PaintWatch watch(*list.viewport());
    std::vector<qint64> times;
    QElapsedTimer sinceStep, frame;
    for (int i = 1; i <= count; ++i) {
        sinceStep.start();
        list.verticalScrollBar()->setValue(i * step);
        while (sinceStep.elapsed() < untilNextStep) {
            frame.start();
            QCoreApplication::processEvents();
            if (watch.takePainted())
                times.push_back(frame.nsecsElapsed());
        }
    }
    return times;
}

/// The nanoseconds from asking for a cover that has not been read yet until it is there.
std::vector<qint64> measureDecoding(CoverFiles &files, QSize pixels)
{
    constexpr int count = 200, otherAlbums = 10'000;
    ArtworkLoader loader;
    std::vector<qint64> times;
    QElapsedTimer timer;
    for (int i = 0; i < count; ++i) {
        const auto cover = albumCover(files, otherAlbums + i);
        timer.start();
        while (loader.image(*cover, pixels).image.isNull())
            QCoreApplication::processEvents();
        times.push_back(timer.nsecsElapsed());
    }
    return times;
}

void measureScrolling(PlayerManager &player, CoverFiles &files, QListView &list)
{
    player.playlist = tracks(files, 100'000);
    player.currentTrack = player.playlist().first();
    QCoreApplication::processEvents();
    const auto scroll = [&](int step) {
        return [&list, step](int i) { list.verticalScrollBar()->setValue(i * step); };
    };
    const double before = heapMebibytes();
    print("frame, 100,000 rows, by 20 points, ms", measure(*list.viewport(), 2000, scroll(20)));
    print("frame, by 3,000 points, covers new, ms", measureFrames(list, 2000, 3000));
    std::printf("%-42s %8.1f\n", "decoded covers and all else drawn, MiB", heapMebibytes() - before);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    CoverFiles files;
    PlayerManager player;
    ContentView view(player);
    view.resize(720, 900);
    view.show();
    QCoreApplication::processEvents();
    std::printf("%-42s %8s %8s %8s\n", "", "median", "95 %", "most");
    measureTicks(player, files, *view.findChild<Slider *>());
    measureScrolling(player, files, *view.findChild<QListView *>());
    const double ratio = view.devicePixelRatioF();
    print("cover for a row, read and decoded, ms", measureDecoding(files, QSize(42, 42) * ratio));
    print("large cover, read and decoded, ms", measureDecoding(files, QSize(190, 190) * ratio));
    return 0;
}
