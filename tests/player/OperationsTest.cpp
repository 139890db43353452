#include "tests/TestProgram.h"
#include "tests/player/Journal.h"
#include "tests/player/PlayerFixture.h"

#include <limits>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

using Fixture = PlayerFixture;
using Step = std::function<void(Fixture &)>;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

// States to start from, in which every write shows: no published value is one that an operation writes.

void empty(Fixture &f)
{
    f.platform.nextDuration = 50;
    f.player.volume = 0.5;
    f.player.isPlaying = true;
    f.player.currentTime = 7;
    f.player.duration = 99;
}

/// Three tracks, none of them loaded.
void listed(Fixture &f)
{
    f.player.playlist = {Track(f.url(u"a.mp3"_s)), Track(f.url(u"b.mp3"_s)), Track(f.url(u"c.mp3"_s))};
    empty(f);
}

/// The first of three tracks plays, on an audio player that is at 8 of 100 seconds.
void playing(Fixture &f)
{
    f.add("abc"_L1);
    f.player.play();
    f.platform.latest().currentTime = 8;
    empty(f);
}

/// The same, but shown as paused; the timer runs.
void shownPaused(Fixture &f)
{
    playing(f);
    f.player.isPlaying = false;
}

/// The same, but nothing sounds and the timer is off.
void paused(Fixture &f)
{
    shownPaused(f);
    f.player.pause();
    empty(f);
    f.player.isPlaying = false;
}

/// Shown as paused at a position from which previous() changes the track.
void shownPausedEarly(Fixture &f)
{
    shownPaused(f);
    f.player.currentTime = 3;
}

void deliverQueued()
{
    QCoreApplication::sendPostedEvents();
}

void tick(const Fixture &f)
{
    auto &timer = *f.player.findChild<QTimer *>();
    QTimerEvent event(timer.timerId());
    QCoreApplication::sendEvent(&timer, &event);
}

/// What is noted of the loading of a track, as far as both ways of it go: "open b, …, duration 50, "
QString load(QChar name, const QString &former = {})
{
    return u"open %1, %1 delegate, %1 volume 0.5, %1 prepare, %2currentTrack %1, currentTime 0, duration 50, "_s
        .arg(name)
        .arg(former.isEmpty() ? QString() : former + u" gone, "_s);
}

QString loadAndPlay(QChar name, const QString &former = {})
{
    return load(name, former) + u"%1 play, isPlaying true, timer on"_s.arg(name);
}

const QString NotOpened =
    u"prints No se pudo reproducir el archivo: formato desconocido\n, isPlaying false"_s;

} // namespace

/// What each operation does in each case, from the first call or write to the last, in this order and nothing else.
class OperationsTest : public QObject {
    Q_OBJECT

private:
    static void addColumns()
    {
        QTest::addColumn<Step>("start");
        QTest::addColumn<Step>("operation");
        QTest::addColumn<QString>("expected");
    }

    static void row(const char *name, const Step &start, const Step &operation, const QString &expected)
    {
        QTest::newRow(name) << start << operation << expected;
    }

    static void compare()
    {
        QFETCH(Step, start);
        QFETCH(Step, operation);
        Fixture f;
        Journal journal(f.platform, f.player);
        start(f);
        const QString noted = journal.record([&] { operation(f); });
        journal.record(deliverQueued); // leaves nothing to the next row
        QTEST(noted, "expected");
    }

private Q_SLOTS:
    void loading_data()
    {
        addColumns();
        const Step loadB = [](Fixture &f) { f.player.load(f.track(1)); };
        const Step loadBPaused = [](Fixture &f) { f.player.load(f.track(1), false); };
        const auto unplayable = [](const Step &start) -> Step {
            return [start](Fixture &f) {
                start(f);
                f.platform.unplayableNames = {u"b.mp3"_s};
            };
        };
        row("plays", shownPaused, loadB, u"timer off, "_s + loadAndPlay(u'b', u"a"_s));
        row("is ready", playing, loadBPaused, u"timer off, "_s + load(u'b', u"a"_s) + u"isPlaying false"_s);
        row("of the first track", listed, loadBPaused, load(u'b') + u"isPlaying false"_s);
        row(
            "of the current track", shownPaused, [](Fixture &f) { f.player.load(f.track(0)); },
            u"timer off, "_s + loadAndPlay(u'a', u"a"_s).replace(u"currentTrack a"_s, u"same"_s));
        row(
            "whose answers are no",
            [](Fixture &f) {
                shownPaused(f);
                f.platform.playerAnswer = false;
            },
            loadB, u"timer off, "_s + loadAndPlay(u'b', u"a"_s));
        row("fails", unplayable(playing), loadB, u"timer off, open b, "_s + NotOpened);
        row("fails to be ready", unplayable(playing), loadBPaused, u"timer off, open b, "_s + NotOpened);
        row("fails with nothing loaded", unplayable(listed), loadB, u"open b, "_s + NotOpened);
    }
    void loading() { compare(); }

    void playback_data()
    {
        addColumns();
        const Step play = [](Fixture &f) { f.player.play(); };
        const Step pause = [](Fixture &f) { f.player.pause(); };
        const Step toggle = [](Fixture &f) { f.player.togglePlayback(); };
        const Step stop = [](Fixture &f) { f.player.stop(); };
        const Step listedShownPaused = [](Fixture &f) {
            listed(f);
            f.player.isPlaying = false;
        };
        const Step loadedWithoutCurrent = [](Fixture &f) {
            shownPaused(f);
            f.player.currentTrack = std::nullopt;
        };
        const QString pausing = u"a pause, isPlaying false, timer off, currentTime 8, duration 100"_s;

        row("play without a track", empty, play, {});
        row("play with nothing loaded", listedShownPaused, play, loadAndPlay(u'a'));
        row("play", paused, play, u"a play, isPlaying true, timer on"_s);
        row(
            "play whose answer is no",
            [](Fixture &f) {
                paused(f);
                f.platform.playerAnswer = false;
            },
            play, u"a play, isPlaying true, timer on"_s);
        row("play again", playing, play, u"a play, same"_s);
        row("pause with nothing loaded", empty, pause, u"isPlaying false"_s);
        row("pause", playing, pause, pausing);
        row("toggle without a track", empty, toggle, {});
        row("toggle with nothing loaded", listedShownPaused, toggle, loadAndPlay(u'a'));
        row("toggle with none current", loadedWithoutCurrent, toggle,
            u"timer off, "_s + loadAndPlay(u'a', u"a"_s));
        row("toggle while playing", playing, toggle, pausing);
        row("toggle while paused", paused, toggle, u"a play, isPlaying true, timer on"_s);
        row(
            "toggle follows what is shown",
            [](Fixture &f) {
                playing(f);
                f.platform.latest().isPlaying = false;
            },
            toggle, pausing);
        row("stop with nothing loaded", empty, stop, u"currentTime 0, isPlaying false"_s);
        row("stop", playing, stop, u"a stop, a seek 0, currentTime 0, isPlaying false, timer off"_s);
    }
    void playback() { compare(); }

    void seeking_data()
    {
        addColumns();
        const auto seek = [](double time) -> Step { return [time](Fixture &f) { f.player.seek(time); }; };
        row("with nothing loaded", listed, seek(5), {});
        row("while playing", playing, seek(41.5), u"a seek 41.5, currentTime 41.5"_s);
        row("while shown as paused", shownPaused, seek(41.5), u"a seek 41.5, currentTime 41.5"_s);
        row("before the start", playing, seek(-5), u"a seek 0, currentTime 0"_s);
        row("past the end of the audio player", playing, seek(100.5), u"a seek 100, currentTime 100"_s);
        row("to the end of the audio player", playing, seek(100), u"a seek 100, currentTime 100"_s);
        row("to no number", playing, seek(NaN), u"a seek 0, currentTime 0"_s);
        row("to infinity", playing, seek(Infinity), u"a seek 100, currentTime 100"_s);
        row("to minus infinity", playing, seek(-Infinity), u"a seek 0, currentTime 0"_s);
    }
    void seeking() { compare(); }

    void writing_data()
    {
        addColumns();
        row(
            "volume", playing, [](Fixture &f) { f.player.volume = 0.25; }, u"volume 0.25, a volume 0.25"_s);
        row(
            "volume as it is", playing, [](Fixture &f) { f.player.volume = 0.5; }, u"same, a volume 0.5"_s);
        row(
            "volume out of range", playing, [](Fixture &f) { f.player.volume = 1.5; },
            u"volume 1.5, a volume 1.5"_s);
        row(
            "volume with nothing loaded", empty, [](Fixture &f) { f.player.volume = 0.25; },
            u"volume 0.25"_s);
        row(
            "all others", playing,
            [](Fixture &f) {
                f.player.playlist = {};
                f.player.currentTrack = std::nullopt;
                f.player.isPlaying = false;
                f.player.currentTime = 1;
                f.player.duration = 2;
                f.player.isRepeating = true;
                f.player.isShuffling = true;
                f.player.showFileImporter = true;
            },
            u"playlist , currentTrack -, isPlaying false, currentTime 1, duration 2, isRepeating true, "
            u"isShuffling true, "
            "showFileImporter true"_s);
        row(
            "all others as they are", playing,
            [](Fixture &f) {
                f.player.playlist = f.player.playlist();
                f.player.currentTrack = f.player.currentTrack();
                f.player.isPlaying = true;
                f.player.currentTime = 7;
                f.player.duration = 99;
                f.player.isRepeating = false;
                f.player.isShuffling = false;
                f.player.showFileImporter = false;
            },
            u"same, same, same, same, same, same, same, same"_s);
    }
    void writing() { compare(); }

    void ticks_data()
    {
        addColumns();
        row("of the timer", playing, tick, u"currentTime 8, duration 100"_s);
        row(
            "that find nothing new", playing,
            [](Fixture &f) {
                tick(f);
                tick(f);
            },
            u"currentTime 8, duration 100, same, same"_s);
        const auto ended = [](const Step &start) -> Step {
            return [start](Fixture &f) {
                start(f);
                f.platform.latest().isPlaying = false;
            };
        };
        row("find a player that has stopped by itself", ended(playing), tick,
            u"currentTime 8, duration 100, isPlaying false, timer off"_s);
        row("find a player that is shown as stopped", ended(shownPaused), tick,
            u"currentTime 8, duration 100"_s);
    }
    void ticks() { compare(); }

    void next_data()
    {
        addColumns();
        const Step next = [](Fixture &f) { f.player.next(); };
        const auto at = [](qsizetype index) -> Step {
            return [index](Fixture &f) {
                shownPaused(f);
                f.player.currentTrack = f.track(index);
            };
        };
        row("without tracks", empty, next, {});
        row("of the first", shownPaused, next, u"timer off, "_s + loadAndPlay(u'b', u"a"_s));
        row("of the second", at(1), next, u"timer off, "_s + loadAndPlay(u'c', u"a"_s));
        row("of the last", at(2), next, u"timer off, "_s + loadAndPlay(u'a', u"a"_s));
        row(
            "of the last while repeating",
            [at](Fixture &f) {
                at(2)(f);
                f.player.isRepeating = true;
            },
            next, u"timer off, "_s + loadAndPlay(u'a', u"a"_s));
        row(
            "of none",
            [](Fixture &f) {
                shownPaused(f);
                f.player.currentTrack = std::nullopt;
            },
            next, u"timer off, "_s + loadAndPlay(u'a', u"a"_s));
        row(
            "of one that is not listed",
            [](Fixture &f) {
                shownPaused(f);
                f.player.currentTrack = Track(f.track(1).url());
            },
            next, u"timer off, "_s + loadAndPlay(u'a', u"a"_s));
        const auto shuffling = [](qsizetype count) -> Step {
            return [count](Fixture &f) {
                shownPaused(f);
                f.player.playlist.mutate(
                    [count](QList<Track> &tracks) { tracks.resize(count, tracks.first()); });
                f.player.isShuffling = true;
            };
        };
        row("of two while shuffling", shuffling(2), next, u"timer off, "_s + loadAndPlay(u'b', u"a"_s));
        row("of one while shuffling", shuffling(1), next,
            u"timer off, "_s + loadAndPlay(u'a', u"a"_s).replace(u"currentTrack a"_s, u"same"_s));
    }
    void next() { compare(); }

    void previous_data()
    {
        addColumns();
        const Step previous = [](Fixture &f) { f.player.previous(); };
        const auto at = [](qsizetype index) -> Step {
            return [index](Fixture &f) {
                shownPausedEarly(f);
                f.player.currentTrack = f.track(index);
            };
        };
        row("without tracks",
            [](Fixture &f) {
                playing(f);
                f.player.playlist = {};
            },
            previous, {});
        row("of the first at 3 seconds", shownPausedEarly, previous,
            u"timer off, "_s + loadAndPlay(u'c', u"a"_s));
        row("of the second", at(1), previous, u"timer off, "_s + loadAndPlay(u'a', u"a"_s));
        row("of the last", at(2), previous, u"timer off, "_s + loadAndPlay(u'b', u"a"_s));
        row(
            "of the last while shuffling",
            [at](Fixture &f) {
                at(2)(f);
                f.player.isShuffling = true;
            },
            previous, u"timer off, "_s + loadAndPlay(u'b', u"a"_s));
        row(
            "of none",
            [](Fixture &f) {
                shownPausedEarly(f);
                f.player.currentTrack = std::nullopt;
            },
            previous, u"timer off, "_s + loadAndPlay(u'a', u"a"_s));
        row(
            "past 3 seconds while playing",
            [](Fixture &f) {
                playing(f);
                f.player.currentTime = 3.01;
            },
            previous, u"a seek 0, currentTime 0"_s);
        row("past 3 seconds while shown as paused", shownPaused, previous, u"a seek 0, currentTime 0"_s);
        row("past 3 seconds with nothing loaded", listed, previous, {});
    }
    void previous() { compare(); }

    void endOfTrack_data()
    {
        addColumns();
        const Step end = [](Fixture &f) {
            f.platform.latest().finish();
            deliverQueued();
        };
        const QString ended = u"isPlaying false, timer off, "_s;
        row("before it is handled", playing, [](Fixture &f) { f.platform.latest().finish(); }, {});
        row("of the first", playing, end, ended + loadAndPlay(u'b', u"a"_s));
        row(
            "of the last",
            [](Fixture &f) {
                playing(f);
                f.player.currentTrack = f.track(2);
            },
            end, ended + loadAndPlay(u'a', u"a"_s));
        row(
            "that is damaged", playing,
            [](Fixture &f) {
                f.platform.latest().finish(false);
                deliverQueued();
            },
            ended + loadAndPlay(u'b', u"a"_s));
        row(
            "told by another thread", playing,
            [](Fixture &f) {
                std::thread([&f] { f.platform.latest().finish(); }).join();
                deliverQueued();
            },
            ended + loadAndPlay(u'b', u"a"_s));
        const Step repeating = [](Fixture &f) {
            playing(f);
            f.player.isRepeating = true;
        };
        const QString repeated = ended + u"a seek 0, currentTime 0, a play, isPlaying true, timer on"_s;
        row("while repeating", repeating, end, repeated);
        row(
            "while repeating and shuffling",
            [repeating](Fixture &f) {
                repeating(f);
                f.player.isShuffling = true;
            },
            end, repeated);
        row(
            "whose follower does not open",
            [](Fixture &f) {
                playing(f);
                f.platform.unplayableNames = {u"b.mp3"_s};
            },
            end, ended + u"open b, "_s + QString(NotOpened).replace(u"isPlaying false"_s, u"same"_s));
        row(
            "after a load that failed",
            [](Fixture &f) {
                shownPaused(f);
                f.platform.unplayableNames = {u"c.mp3"_s};
            },
            [end](Fixture &f) {
                f.player.load(f.track(2));
                end(f);
            },
            u"timer off, open c, "_s + QString(NotOpened).replace(u"isPlaying false"_s, u"same"_s)
                + u", same, "_s + loadAndPlay(u'b', u"a"_s));
        row(
            "that is handled after another load", shownPaused,
            [](Fixture &f) {
                f.platform.latest().finish();
                f.player.load(f.track(2));
                deliverQueued();
            },
            u"timer off, "_s + loadAndPlay(u'c', u"a"_s) + u", "_s + ended
                + loadAndPlay(u'a', u"c"_s).replace(u"currentTime 0, duration 50"_s, u"same, same"_s));
        row(
            "that is handled after what was queued", playing,
            [](Fixture &f) {
                QMetaObject::invokeMethod(
                    &f.player, [&f] { f.player.isShuffling = true; }, Qt::QueuedConnection);
                f.platform.latest().finish();
                QMetaObject::invokeMethod(
                    &f.player, [&f] { f.player.isShuffling = false; }, Qt::QueuedConnection);
                f.player.playlist.mutate([](QList<Track> &tracks) { tracks.removeLast(); });
                deliverQueued();
            },
            u"playlist ab, isShuffling true, "_s + ended + loadAndPlay(u'b', u"a"_s)
                + u", isShuffling false"_s);
        row(
            "after the player is gone", playing,
            [](Fixture &f) {
                f.platform.latest().finish();
                f.owner.reset();
                deliverQueued();
            },
            u"timer off, end grant a, end grant b, end grant c, a gone"_s);
    }
    void endOfTrack() { compare(); }

    void decodeError_data()
    {
        addColumns();
        const auto fail = [](const std::optional<Error> &error) -> Step {
            return [error](Fixture &f) {
                f.platform.latest().fail(error);
                deliverQueued();
            };
        };
        const auto failAndDestroy = [](const std::optional<Error> &error) -> Step {
            return [error](Fixture &f) {
                f.platform.latest().fail(error);
                f.owner.reset();
                deliverQueued();
            };
        };
        const QString gone = u"timer off, end grant a, end grant b, end grant c, a gone"_s;
        row("before it is handled", playing, [](Fixture &f) { f.platform.latest().fail(Error{u"x"_s}); }, {});
        row("is told", playing, fail(Error{u"paquete roto"_s}),
            u"isPlaying false, timer off, prints Error decodificando el audio: paquete roto\n"_s);
        row("without a description", playing, fail(std::nullopt), u"isPlaying false, timer off"_s);
        row("of several lines is told in one", playing, fail(Error{u"datos\ndañados"_s}),
            u"isPlaying false, timer off, prints Error decodificando el audio: datos dañados\n"_s);
        row("after the player is gone", playing, failAndDestroy(Error{u"paquete roto"_s}),
            gone + u", prints Error decodificando el audio: paquete roto\n"_s);
        row("without a description after the player is gone", playing, failAndDestroy(std::nullopt), gone);
    }
    void decodeError() { compare(); }

    void admission_data()
    {
        addColumns();
        const auto add = [](QLatin1StringView names) -> Step {
            return [names](Fixture &f) { f.add(names); };
        };
        row("of a file named twice", empty, add("baa"_L1),
            u"grant a, playlist a, grant b, playlist ab, "_s + load(u'a') + u"isPlaying false"_s);
        row("beside a current track", playing, add("dbe"_L1),
            u"grant d, playlist abcd, grant e, playlist abcde"_s);
        row("of listed files", playing, add("cab"_L1), {});
        row("with none current", listed, add("d"_L1),
            u"grant d, playlist abcd, "_s + load(u'a') + u"isPlaying false"_s);
        row(
            "with none current beside an audio player",
            [](Fixture &f) {
                playing(f);
                f.player.currentTrack = std::nullopt;
            },
            add("d"_L1),
            u"grant d, playlist abcd, timer off, "_s + load(u'a', u"a"_s) + u"isPlaying false"_s);
        row(
            "with a current track that is not loaded",
            [](Fixture &f) {
                listed(f);
                f.player.currentTrack = f.track(0);
            },
            add("d"_L1), u"grant d, playlist abcd"_s);
        row("of nothing with none current", listed, add(""_L1), load(u'a') + u"isPlaying false"_s);
        row("of nothing", empty, add(""_L1), {});
        row(
            "of what does not open",
            [](Fixture &f) {
                empty(f);
                f.platform.unplayableNames = {u"a.mp3"_s};
            },
            add("ab"_L1), u"grant a, playlist a, grant b, playlist ab, open a, "_s + NotOpened);
    }
    void admission() { compare(); }

    void removal_data()
    {
        addColumns();
        const auto remove = [](qsizetype index) -> Step {
            return [index](Fixture &f) { f.player.removeTrack(Track(f.track(index))); };
        };
        const QString reset = u"currentTrack -, isPlaying false, currentTime 0, duration 0, "_s;
        const auto loadFirst = [](QChar name) {
            return load(name).replace(u"currentTime 0"_s, u"same"_s) + u"same"_s;
        };
        row("of the current track", playing, remove(0),
            u"playlist bc, a stop, a gone, "_s + reset + u"timer off, "_s + loadFirst(u'b'));
        row(
            "of the current track behind another",
            [](Fixture &f) {
                playing(f);
                f.player.currentTrack = f.track(1);
            },
            remove(1), u"playlist ac, a stop, a gone, "_s + reset + u"timer off, "_s + loadFirst(u'a'));
        row(
            "of the only track",
            [](Fixture &f) {
                playing(f);
                f.player.playlist.mutate([](QList<Track> &tracks) { tracks.remove(1, 2); });
            },
            remove(0), u"playlist , a stop, a gone, "_s + reset + u"timer off"_s);
        row(
            "of a current track that is not loaded",
            [](Fixture &f) {
                listed(f);
                f.player.currentTrack = f.track(0);
            },
            remove(0), u"playlist bc, "_s + reset + loadFirst(u'b'));
        row("of another track", playing, remove(1), u"playlist ac"_s);
        row("of a track with none current", listed, remove(0), u"playlist bc"_s);
        row("of a track that is not listed", playing,
            [](Fixture &f) { f.player.removeTrack(Track(f.track(0).url())); }, {});
        row(
            "of all", playing, [](Fixture &f) { f.player.clearPlaylist(); },
            u"a stop, a seek 0, currentTime 0, isPlaying false, timer off, a gone, playlist , currentTrack -, duration 0"_s);
        row(
            "of all with nothing loaded", listed, [](Fixture &f) { f.player.clearPlaylist(); },
            u"currentTime 0, isPlaying false, playlist , same, duration 0"_s);
        row(
            "of the player", playing,
            [](Fixture &f) {
                f.player.removeTrack(Track(f.track(1)));
                f.add("bda"_L1);
                f.owner.reset();
            },
            u"playlist ac, grant b, playlist acb, grant d, playlist acbd, timer off, end grant a, end grant "
            u"b, end grant c, "
            "end grant b, end grant d, a gone"_s);
        row(
            "of the player with grants refused", [](Fixture &f) { f.platform.grantsAccess = false; },
            [](Fixture &f) {
                f.player.addFiles({Fixture::url(u"a.mp3"_s)});
                f.owner.reset();
            },
            u"grant a, playlist a, open a, a delegate, a volume 0.75, a prepare, currentTrack a, same, "
            u"duration 100, same, "
            "a gone"_s);
    }
    void removal() { compare(); }

    void moving_data()
    {
        addColumns();
        const auto move = [](const std::set<qsizetype> &from, qsizetype to) -> Step {
            return [from, to](Fixture &f) { f.player.moveTrack(from, to); };
        };
        const Step six = [](Fixture &f) { f.add("abcdef"_L1); };
        row("the first of three to the end", playing, move({0}, 3), u"playlist bca"_s);
        row("to the count", six, move({0}, 6), u"playlist bcdefa"_s);
        row("before a later one", six, move({0}, 3), u"playlist bcadef"_s);
        row("the last to the front", six, move({5}, 0), u"playlist fabcde"_s);
        row("scattered ones as a block", six, move({0, 2, 4}, 3), u"playlist bacedf"_s);
        row("onto itself", six, move({2}, 2), u"same"_s);
        row("just behind itself", six, move({2}, 3), u"same"_s);
        row("nothing", six, move({}, 3), u"same"_s);
        row("positions beyond the list are left out", six, move({1, 9}, 6), u"playlist acdefb"_s);
    }
    void moving() { compare(); }
};

LUMAVERDINE_TEST(OperationsTest)
#include "OperationsTest.moc"
