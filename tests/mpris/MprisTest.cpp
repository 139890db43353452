#include "mpris/Mpris.h"
#include "tests/TestProgram.h"
#include "tests/mpris/Shell.h"
#include "tests/player/PlayerFixture.h"

#include <QDir>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

/// A player on the bus, and who looks at it.
struct MprisFixture : PlayerFixture {
    Shell &shell;
    int raised = 0;
    int quit = 0;
    QString toldAtFirst;
    Mpris mpris{player, [this] { ++raised; }, [this] { ++quit; }};

    explicit MprisFixture(Shell &desktop)
        : shell(desktop)
    {
        mpris.start();
        const auto isThere = [this] { return shell.sees(PlayerName) && shell.get(u"Rate"_s) == 1.0; };
        if (!QTest::qWaitFor(isThere))
            qFatal("The player does not come to the bus.");
        toldAtFirst = shell.told();
    }

    /// Lists files of a length of 100 seconds, named by letters, and loads the first.
    void add(QLatin1StringView letters)
    {
        for (const QChar letter : QString(letters)) {
            const Track track(url(letter + u".mp3"_s), MediaAsset{MediaTime::fromSeconds(100), {}});
            player.playlist.mutate([&track](QList<Track> &tracks) { tracks.append(track); });
        }
        player.load(player.playlist().first(), false);
    }

    [[nodiscard]] QVariant metadata(const QString &name) const
    {
        return shell.get(u"Metadata"_s).toMap().value(name);
    }
    [[nodiscard]] QVariant trackPath() const { return metadata(u"mpris:trackid"_s); }

    /// Status, current track and position: "Playing b 5".
    [[nodiscard]] QString state() const
    {
        return shell.get(u"PlaybackStatus"_s).toString() + u' ' + current() + u' '
            + QString::number(shell.get(u"Position"_s).toDouble() / 1e6);
    }

    /// Brings the player into the state that a word names.
    void enter(const QString &state)
    {
        if (state != u"empty"_s)
            add("abc"_L1);
        if (state == u"unloaded"_s)
            player.currentTrack = std::nullopt;
        if (state.startsWith(u"playing"_s) || state == u"stopped"_s)
            player.play();
        if (state.endsWith(u"at 50"_s) || state == u"stopped"_s)
            player.seek(50);
        if (state == u"stopped"_s)
            player.stop();
        (void)shell.told();
    }
};

} // namespace

class MprisTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(!m_bus.address().isEmpty());
        QVERIFY(m_runtime.isValid());
        qputenv("XDG_RUNTIME_DIR", m_runtime.path().toUtf8());
        QGuiApplication::setDesktopFileName(u"org.example.Player"_s);
    }

    void cleanup()
    {
        QDBusConnection::sessionBus().unregisterService(PlayerName);
        QTRY_COMPARE(QDir(m_runtime.path()).entryList(QDir::Files), QStringList());
    }

    void rootSaysWhoThePlayerIs()
    {
        const MprisFixture f(m_shell);
        const QVariantMap expected{{u"CanQuit"_s, true}, {u"CanRaise"_s, true}, {u"HasTrackList"_s, false},
            {u"Identity"_s, u"Lumaverdine"_s}, {u"DesktopEntry"_s, u"org.example.Player"_s},
            {u"SupportedUriSchemes"_s, QStringList()}, {u"SupportedMimeTypes"_s, QStringList()}};
        QCOMPARE(m_shell.all(RootInterface), expected);
    }

    void windowIsRaisedAndClosed()
    {
        const MprisFixture f(m_shell);
        QCOMPARE(m_shell.ask(RootInterface, u"Raise"_s).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(m_shell.ask(RootInterface, u"Quit"_s).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(f.raised, 1);
        QCOMPARE(f.quit, 1);
    }

    void emptyPlayerCanDoNothing()
    {
        const MprisFixture f(m_shell);
        QCOMPARE(f.toldAtFirst, QString());
        const QVariantMap expected{{u"Metadata"_s, QVariantMap()}, {u"PlaybackStatus"_s, u"Stopped"_s},
            {u"LoopStatus"_s, u"None"_s}, {u"Rate"_s, 1.0}, {u"MinimumRate"_s, 1.0}, {u"MaximumRate"_s, 1.0},
            {u"Shuffle"_s, false}, {u"Volume"_s, 0.75}, {u"Position"_s, 0LL}, {u"CanGoNext"_s, false},
            {u"CanGoPrevious"_s, false}, {u"CanPlay"_s, false}, {u"CanPause"_s, false}, {u"CanSeek"_s, false},
            {u"CanControl"_s, true}};
        QCOMPARE(m_shell.all(PlayerInterface), expected);
    }

    void filledPlayerCanDoAll()
    {
        MprisFixture f(m_shell);
        f.add("a"_L1);
        for (const QString &name :
            {u"CanGoNext"_s, u"CanGoPrevious"_s, u"CanPlay"_s, u"CanPause"_s, u"CanSeek"_s})
            QCOMPARE(m_shell.get(name), QVariant(true));
    }

    void metadataOfATaggedFile()
    {
        MprisFixture f(m_shell);
        f.platform.nextDuration = 2.005;
        f.player.addFiles({QUrl::fromLocalFile(QStringLiteral(TEST_MEDIA "/id3v2.2.mp3"))});
        QVariantMap data = m_shell.get(u"Metadata"_s).toMap();
        const QString path = qvariant_cast<QDBusObjectPath>(data.take(u"mpris:trackid"_s)).path();
        QCOMPARE(path, u"/org/lumaverdine/track/"_s + f.track(0).id().toString(QUuid::Id128));
        data.remove(u"mpris:artUrl"_s);
        const QVariantMap expected{{u"mpris:length"_s, 2'005'000LL}, {u"xesam:title"_s, f.track(0).title},
            {u"xesam:artist"_s, QStringList{f.track(0).artist}}, {u"xesam:album"_s, f.track(0).album},
            {u"xesam:url"_s, QStringLiteral("file://" TEST_MEDIA "/id3v2.2.mp3")}};
        QCOMPARE(data, expected);
        QVERIFY(f.track(0).artist.startsWith(u"Artist"_s));
    }

    void coverIsToldAsSoonAsItIsThere()
    {
        MprisFixture f(m_shell);
        f.player.addFiles({QUrl::fromLocalFile(QStringLiteral(TEST_MEDIA "/id3v2.3.mp3")), f.url(u"none"_s)});
        const auto isTold = [this] {
            return m_shell.told().endsWith(
                u"Metadata=mpris:artUrl mpris:length mpris:trackid xesam:album xesam:artist xesam:title xesam:url"_s);
        };
        QVERIFY(QTest::qWaitFor(isTold));
        const QUrl cover(f.metadata(u"mpris:artUrl"_s).toString());
        QVERIFY(QFile::exists(cover.toLocalFile()));
        f.player.next();
        QVERIFY(!f.metadata(u"mpris:artUrl"_s).isValid());
        QVERIFY(!QFile::exists(cover.toLocalFile()));
    }

    void leftoversGoAtTheStart()
    {
        QFile left(m_runtime.filePath(u"lumaverdine-cover-left"_s));
        QVERIFY(left.open(QIODevice::WriteOnly));
        const MprisFixture f(m_shell);
        QVERIFY(!left.exists());
    }

    void whatIsUnknownIsLeftOut()
    {
        MprisFixture f(m_shell);
        f.player.addFiles({f.url(u"a.mp3"_s)});
        const QStringList names{u"mpris:trackid"_s, u"xesam:title"_s, u"xesam:url"_s};
        QCOMPARE(m_shell.get(u"Metadata"_s).toMap().keys(), names);
    }

    void noLengthIsTooLong()
    {
        MprisFixture f(m_shell);
        f.platform.nextDuration = 1e300;
        f.add("a"_L1);
        QVERIFY(f.metadata(u"mpris:length"_s).toLongLong() > 0);
    }

    void addressIsEncoded_data()
    {
        QTest::addColumn<QUrl>("file");
        QTest::addColumn<QString>("address");
        const auto file = [](const QString &name) { return QUrl::fromLocalFile(u"/m/"_s + name); };
        QTest::newRow("blank") << file(u"a b"_s) << u"file:///m/a%20b"_s;
        QTest::newRow("accent") << file(u"ñ"_s) << u"file:///m/%C3%B1"_s;
        QTest::newRow("reserved") << file(u"#?%41"_s) << u"file:///m/%23%3F%2541"_s;
        QTest::newRow("brackets") << file(u"[a]"_s) << u"file:///m/%5Ba%5D"_s;
        QTest::newRow("not UTF-8") << QUrl(u"file:///m/%FF"_s) << u"file:///m/%FF"_s;
    }
    void addressIsEncoded()
    {
        QFETCH(QUrl, file);
        MprisFixture f(m_shell);
        f.player.addFiles({file});
        QTEST(f.metadata(u"xesam:url"_s).toString(), "address");
    }

    void verbs_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("verb");
        QTest::addColumn<QVariant>("argument");
        QTest::addColumn<QString>("after");
        const auto row = [](const char *before, const char *verb, const char *after,
                             const QVariant &argument = {}) {
            QTest::addRow("%s, %s %s", before, verb, qPrintable(argument.toString())) << QString::fromUtf8(
                before) << QString::fromUtf8(verb) << argument << QString::fromUtf8(after);
        };
        for (const char *verb : {"Play", "Pause", "PlayPause", "Stop", "Next", "Previous"})
            row("empty", verb, "Stopped - 0");
        row("empty", "Seek", "Stopped - 0", 5'000'000LL);

        row("paused", "Play", "Playing a 0");
        row("paused at 50", "Play", "Playing a 50");
        row("playing at 50", "Play", "Playing a 50");
        row("stopped", "Play", "Playing a 0");
        row("playing at 50", "Pause", "Paused a 50");
        row("paused at 50", "Pause", "Paused a 50");
        row("stopped", "Pause", "Stopped a 0");
        row("playing at 50", "PlayPause", "Paused a 50");
        row("paused at 50", "PlayPause", "Playing a 50");
        row("stopped", "PlayPause", "Playing a 0");
        row("playing at 50", "Stop", "Stopped a 0");
        row("paused", "Stop", "Stopped a 0");
        row("stopped", "Stop", "Stopped a 0");

        row("playing", "Next", "Playing b 0");
        row("paused", "Next", "Playing b 0");
        row("stopped", "Next", "Playing b 0");
        row("playing", "Previous", "Playing c 0");
        row("playing at 50", "Previous", "Playing a 0");
        row("paused at 50", "Previous", "Paused a 0");

        row("playing at 50", "Seek", "Playing a 55.5", 5'500'000LL);
        row("playing at 50", "Seek", "Playing a 40", -10'000'000LL);
        row("paused at 50", "Seek", "Paused a 51", 1'000'000LL);
        row("paused at 50", "Seek", "Paused a 0", -51'000'000LL);
        row("paused at 50", "Seek", "Paused a 100", 50'000'000LL);
        row("paused at 50", "Seek", "Playing b 0", 50'000'001LL);
        row("paused at 50", "Seek", "Playing b 0", std::numeric_limits<qlonglong>::max());
        row("paused at 50", "Seek", "Paused a 0", std::numeric_limits<qlonglong>::min());
        row("stopped", "Seek", "Paused a 1", 1'000'000LL);

        row("playing at 50", "SetPosition", "Playing a 20", 20'000'000LL);
        row("paused at 50", "SetPosition", "Paused a 0", 0LL);
        row("paused at 50", "SetPosition", "Paused a 100", 100'000'000LL);
        row("paused at 50", "SetPosition", "Paused a 50", 100'000'001LL);
        row("paused at 50", "SetPosition", "Paused a 50", -1LL);
        row("stopped", "SetPosition", "Paused a 0", 0LL);
    }
    void verbs()
    {
        QFETCH(QString, before);
        QFETCH(QString, verb);
        QFETCH(QVariant, argument);
        MprisFixture f(m_shell);
        f.enter(before);
        QVariantList arguments;
        if (verb == u"SetPosition"_s)
            arguments.append(f.trackPath());
        if (argument.isValid())
            arguments.append(argument);
        QCOMPARE(m_shell.call(verb, arguments), QString());
        QTEST(f.state(), "after");
    }

    void placeOfAnotherTrackIsIgnored()
    {
        MprisFixture f(m_shell);
        f.enter(u"playing at 50"_s);
        const QVariant path = f.trackPath();
        f.player.next();
        QCOMPARE(m_shell.call(u"SetPosition"_s, {path, 20'000'000LL}), QString());
        QCOMPARE(f.state(), u"Playing b 0"_s);
    }

    void unknownEndIsNotPassed()
    {
        MprisFixture f(m_shell);
        f.player.addFiles({f.url(u"a.mp3"_s), f.url(u"b.mp3"_s)});
        QCOMPARE(m_shell.call(u"Seek"_s, {101'000'000LL}), QString());
        QCOMPARE(f.state(), u"Paused a 100"_s);
        QCOMPARE(m_shell.call(u"SetPosition"_s, {f.trackPath(), 50'000'000LL}), QString());
        QCOMPARE(f.state(), u"Paused a 50"_s);
    }

    void endIsTheContainersIfThePlayerGuesses()
    {
        MprisFixture f(m_shell);
        f.platform.nextDuration = 60;
        f.enter(u"paused"_s);
        QCOMPARE(f.metadata(u"mpris:length"_s), QVariant(100'000'000LL));
        QCOMPARE(m_shell.call(u"SetPosition"_s, {f.trackPath(), 100'000'000LL}), QString());
        QCOMPARE(f.state(), u"Paused a 60"_s);
        QCOMPARE(m_shell.call(u"Seek"_s, {40'000'000LL}), QString());
        QCOMPARE(f.state(), u"Paused a 60"_s);
    }

    void playLoadsTheFirstTrack()
    {
        MprisFixture f(m_shell);
        f.platform.unplayableNames = {u"a.mp3"_s};
        f.add("ab"_L1);
        QCOMPARE(f.state(), u"Stopped - 0"_s);
        f.platform.unplayableNames.clear();
        QCOMPARE(m_shell.call(u"Play"_s), QString());
        QCOMPARE(f.state(), u"Playing a 0"_s);
    }

    void positionIsWhatIsHeard()
    {
        MprisFixture f(m_shell);
        f.enter(u"playing"_s);
        f.platform.latest().currentTime = 12.25; // since the last tick
        QCOMPARE(m_shell.get(u"Position"_s), QVariant(12'250'000LL));
        QCOMPARE(m_shell.call(u"Seek"_s, {1'000'000LL}), QString());
        QCOMPARE(f.platform.latest().currentTime, 13.25);
        f.player.pause();
        f.platform.latest().currentTime =
            20; // of a sound that goes on although the next file could not be loaded
        QCOMPARE(m_shell.get(u"Position"_s), QVariant(13'250'000LL));
    }

    void allIsAnsweredWithoutTheMainThread()
    {
        MprisFixture f(m_shell);
        f.enter(u"paused at 50"_s);
        QVariantMap all = m_shell.allAtOnce(PlayerInterface);
        QCOMPARE(all.value(u"Position"_s), QVariant(50'000'000LL));
        QCOMPARE(m_shell.allAtOnce(PlayerInterface), all); // it stands still
        all.insert(m_shell.allAtOnce(RootInterface));
        QCOMPARE(m_shell.all({}), all); // which comes from the main thread
    }

    void positionGoesOnWithoutTheMainThread()
    {
        MprisFixture f(m_shell);
        f.enter(u"playing at 50"_s);
        QElapsedTimer sinceTick;
        sinceTick.start();
        f.platform.latest().currentTime = 50.25;
        f.player.currentTime = 50.25;
        (void)m_shell.told();
        const auto position = [this] {
            return m_shell.allAtOnce(PlayerInterface).value(u"Position"_s).toLongLong();
        };
        const qlonglong before = position();
        QVERIFY(before >= 50'250'000);
        qlonglong after = before;
        while (after < before + 20'000 && !sinceTick.hasExpired(5000))
            after = position();
        QVERIFY(after >= before + 20'000);
        QVERIFY(after <= 50'250'000 + sinceTick.nsecsElapsed() / 1000);
    }

    void positionOfSoundThatIsHeldUpStandsStill()
    {
        MprisFixture f(m_shell);
        f.enter(u"playing at 50"_s);
        for (int tick = 0; tick < 2; ++tick) {
            f.player.currentTime = 50;
            (void)m_shell.told();
        }
        QCOMPARE(m_shell.allAtOnce(PlayerInterface).value(u"Position"_s), QVariant(50'000'000LL));
    }

    /// The first sound after a leap is heard a little later.
    void positionAfterALeapWaitsForATick()
    {
        MprisFixture f(m_shell);
        f.enter(u"playing"_s);
        const auto askAfterLeap = [&] {
            f.player.seek(50);
            (void)m_shell.told();
            return m_shell.all(PlayerInterface).value(u"Position"_s).toLongLong();
        };
        QTRY_COMPARE(askAfterLeap(), 50'000'000LL); // again if a tick comes in between
    }

    /// Also if it is asked for before clients are told.
    void allIsWhatHasJustChanged_data()
    {
        QTest::addColumn<bool>("byClient");
        QTest::newRow("by the player") << false;
        QTest::newRow("by a call before") << true;
    }
    void allIsWhatHasJustChanged()
    {
        QFETCH(bool, byClient);
        MprisFixture f(m_shell);
        f.enter(u"paused"_s);
        const QVariantList volume{PlayerInterface, u"Volume"_s, QVariant::fromValue(QDBusVariant(0.5))};
        if (byClient)
            (void)m_shell.send(PropertiesInterface, u"Set"_s, volume);
        else
            f.player.volume = 0.5;
        QDBusPendingCall all = m_shell.send(PropertiesInterface, u"GetAll"_s, {PlayerInterface});
        m_shell.ping();
        QTRY_VERIFY(all.isFinished());
        QCOMPARE(Shell::properties(all.reply()).value(u"Volume"_s), QVariant(0.5));
    }

    void propertiesAreSet_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QVariant>("after");
        const auto good = [](const char *name, const QVariant &value, const QVariant &after) {
            QTest::addRow("%s %s", name, qPrintable(value.toString()))
                << QString::fromUtf8(name) << value << QString() << after;
        };
        const auto bad = [](const char *name, const QVariant &value, const QVariant &after,
                             const char *error) {
            QTest::addRow("%s %s %s", name, value.typeName(), qPrintable(value.toString()))
                << QString::fromUtf8(name) << value
                << u"org.freedesktop.DBus.Error."_s + QString::fromUtf8(error) << after;
        };
        constexpr double infinity = std::numeric_limits<double>::infinity();
        good("Volume", 0.5, 0.5);
        good("Volume", 0.0, 0.0);
        good("Volume", 1.5, 1.0);
        good("Volume", -0.5, 0.0);
        bad("Volume", NotANumber, 0.75, "InvalidArgs");
        bad("Volume", infinity, 0.75, "InvalidArgs");
        bad("Volume", -infinity, 0.75, "InvalidArgs");
        bad("Volume", 1, 0.75, "InvalidArgs");
        bad("Volume", u"0.5"_s, 0.75, "InvalidArgs");
        good("Shuffle", true, true);
        good("Shuffle", false, false);
        bad("Shuffle", 1, false, "InvalidArgs");
        good("LoopStatus", u"Track"_s, u"Track"_s);
        good("LoopStatus", u"None"_s, u"None"_s);
        bad("LoopStatus", u"Playlist"_s, u"None"_s, "InvalidArgs");
        bad("LoopStatus", u"track"_s, u"None"_s, "InvalidArgs");
        bad("LoopStatus", true, u"None"_s, "InvalidArgs");
        good("Rate", 1.0, 1.0);
        good("Rate", 2.0, 1.0);
        bad("Rate", NotANumber, 1.0, "InvalidArgs");
        for (const char *name : {"CanControl", "CanGoNext", "CanSeek"})
            bad(name, false, {}, "PropertyReadOnly");
        for (const char *name : {"PlaybackStatus", "Position", "Metadata", "MinimumRate"})
            bad(name, 5LL, {}, "PropertyReadOnly");
        bad("Tempo", 1.0, {}, "UnknownProperty");
        bad("Identity", u"x"_s, {}, "UnknownProperty"); // of the other interface
    }
    void propertiesAreSet()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, value);
        QFETCH(QVariant, after);
        MprisFixture f(m_shell);
        f.enter(u"playing"_s);
        QTEST(m_shell.set(name, value), "error");
        if (after.isValid())
            QCOMPARE(m_shell.get(name), after);
        QCOMPARE(f.state(), u"Playing a 0"_s);
    }

    void whatIsSetReachesThePlayer()
    {
        const MprisFixture f(m_shell);
        m_shell.set(u"Volume"_s, 0.25);
        m_shell.set(u"Shuffle"_s, true);
        m_shell.set(u"LoopStatus"_s, u"Track"_s);
        QCOMPARE(f.player.volume(), 0.25);
        QVERIFY(f.player.isShuffling());
        QVERIFY(f.player.isRepeating());
        m_shell.set(u"LoopStatus"_s, u"Playlist"_s);
        QVERIFY(f.player.isRepeating());
    }

    void rateOfZeroIsAPause()
    {
        MprisFixture f(m_shell);
        f.enter(u"playing at 50"_s);
        QCOMPARE(m_shell.set(u"Rate"_s, 0.0), QString());
        QCOMPARE(f.state(), u"Paused a 50"_s);
        QCOMPARE(m_shell.get(u"Rate"_s), QVariant(1.0));
    }

    void callsAreRefused_data()
    {
        QTest::addColumn<QString>("interface");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("error");
        const auto row = [](const QString &interface, const char *method, const QVariantList &arguments,
                             const char *error) {
            QTest::addRow("%s.%s of %lld", qPrintable(interface), method, qlonglong(arguments.size()))
                << interface << QString::fromUtf8(method) << arguments
                << u"org.freedesktop.DBus.Error."_s + QString::fromUtf8(error);
        };
        const QVariant path = QVariant::fromValue(QDBusObjectPath(u"/a"_s));
        const QVariant variant = QVariant::fromValue(QDBusVariant(1.0));
        const auto introspectable = u"org.freedesktop.DBus.Introspectable"_s;
        row(PlayerInterface, "OpenUri", {u"file:///m/a.mp3"_s}, "NotSupported");
        row(PlayerInterface, "OpenUri", {}, "InvalidArgs");
        row(PlayerInterface, "Seek", {5}, "InvalidArgs");
        row(PlayerInterface, "Seek", {5LL, 5LL}, "InvalidArgs");
        row(PlayerInterface, "Seek", {}, "InvalidArgs");
        row(PlayerInterface, "SetPosition", {u"/a"_s, 5LL}, "InvalidArgs");
        row(PlayerInterface, "SetPosition", {path}, "InvalidArgs");
        row(PlayerInterface, "Play", {true}, "InvalidArgs");
        row(RootInterface, "Raise", {u"x"_s}, "InvalidArgs");
        row(PlayerInterface, "Rewind", {}, "UnknownMethod");
        row(PlayerInterface, "Raise", {}, "UnknownMethod");
        row(RootInterface, "Play", {}, "UnknownMethod");
        row(PropertiesInterface, "Reset", {}, "UnknownMethod");
        row(introspectable, "Look", {}, "UnknownMethod");
        row(u"org.mpris.MediaPlayer2.TrackList"_s, "AddTrack", {}, "UnknownInterface");
        row(PropertiesInterface, "Get", {PlayerInterface}, "InvalidArgs");
        row(PropertiesInterface, "Get", {PlayerInterface, 5}, "InvalidArgs");
        row(PropertiesInterface, "Get", {PlayerInterface, u"Tempo"_s}, "UnknownProperty");
        row(PropertiesInterface, "Get", {RootInterface, u"Volume"_s}, "UnknownProperty");
        row(PropertiesInterface, "Get", {introspectable, u"Volume"_s}, "UnknownProperty");
        row(PropertiesInterface, "Get", {u"org.example"_s, u"Volume"_s}, "UnknownInterface");
        row(PropertiesInterface, "GetAll", {}, "InvalidArgs");
        row(PropertiesInterface, "GetAll", {u"org.mpris.MediaPlayer2.TrackList"_s}, "UnknownInterface");
        row(PropertiesInterface, "Set", {PlayerInterface, u"Volume"_s, 0.5}, "InvalidArgs");
        row(PropertiesInterface, "Set", {u"org.example"_s, u"Volume"_s, variant}, "UnknownInterface");
        row(PropertiesInterface, "Set", {RootInterface, u"Identity"_s, variant}, "PropertyReadOnly");
    }
    void callsAreRefused()
    {
        QFETCH(QString, interface);
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        MprisFixture f(m_shell);
        f.enter(u"playing at 50"_s);
        QTEST(m_shell.ask(interface, method, arguments).errorName(), "error");
        QCOMPARE(f.state(), u"Playing a 50"_s);
        QCOMPARE(m_shell.told(), QString());
    }

    void interfaceMayBeLeftOut()
    {
        MprisFixture f(m_shell);
        f.enter(u"paused"_s);
        QCOMPARE(m_shell.ask({}, u"Play"_s).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(f.state(), u"Playing a 0"_s);
        const QDBusMessage answer = m_shell.ask({}, u"Get"_s, {QString(), u"Identity"_s});
        QCOMPARE(
            qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant(), QVariant(u"Lumaverdine"_s));
        QCOMPARE(
            m_shell.all({}).size(), m_shell.all(RootInterface).size() + m_shell.all(PlayerInterface).size());
    }

    void standardInterfacesWork()
    {
        const MprisFixture f(m_shell);
        QCOMPARE(m_shell.ask(u"org.freedesktop.DBus.Peer"_s, u"Ping"_s).type(), QDBusMessage::ReplyMessage);
        const QDBusMessage none = m_shell.ask(PropertiesInterface, u"GetAll"_s, {PropertiesInterface});
        QCOMPARE(none.type(), QDBusMessage::ReplyMessage);
    }

    /// Every member that MPRIS has, in the order of names.
    void introspectionIsComplete()
    {
        const MprisFixture f(m_shell);
        const QDBusMessage answer = m_shell.ask(u"org.freedesktop.DBus.Introspectable"_s, u"Introspect"_s);
        QStringList members;
        QString interface;
        QXmlStreamReader xml(answer.arguments().value(0).toString());
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement)
                continue;
            const auto attribute = [&xml](const char *name) {
                return xml.attributes().value(QLatin1StringView(name)).toString();
            };
            if (xml.name() == u"interface"_s)
                interface = attribute("name");
            else if (!interface.startsWith(RootInterface))
                continue;
            else if (xml.name() == u"property"_s)
                members.append(attribute("name") + u' ' + attribute("type") + u' ' + attribute("access"));
            else if (xml.name() == u"arg"_s)
                members.last() +=
                    u' ' + attribute("name") + u':' + attribute("type") + attribute("direction");
            else if (xml.name() == u"annotation"_s)
                members.last() += u' ' + attribute("name").section(u'.', -1) + u'=' + attribute("value");
            else
                members.append(attribute("name"));
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
        const QStringList expected{u"Raise"_s, u"Quit"_s, u"CanQuit b read"_s, u"CanRaise b read"_s,
            u"DesktopEntry s read"_s, u"HasTrackList b read"_s, u"Identity s read"_s,
            u"SupportedMimeTypes as read"_s, u"SupportedUriSchemes as read"_s, u"Next"_s, u"Previous"_s,
            u"Pause"_s, u"PlayPause"_s, u"Stop"_s, u"Play"_s, u"Seek Offset:xin"_s,
            u"SetPosition TrackId:oin Position:xin"_s, u"OpenUri Uri:sin"_s, u"Seeked Position:x"_s,
            u"CanControl b read EmitsChangedSignal=false"_s, u"CanGoNext b read"_s, u"CanGoPrevious b read"_s,
            u"CanPause b read"_s, u"CanPlay b read"_s, u"CanSeek b read"_s, u"LoopStatus s readwrite"_s,
            u"MaximumRate d read"_s, u"Metadata a{sv} read"_s, u"MinimumRate d read"_s,
            u"PlaybackStatus s read"_s, u"Position x read EmitsChangedSignal=false"_s, u"Rate d readwrite"_s,
            u"Shuffle b readwrite"_s, u"Volume d readwrite"_s};
        QCOMPARE(members, expected);
    }

    void changesAreTold_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("told");
        const char *track = "Metadata=mpris:length mpris:trackid xesam:title xesam:url";
        const auto row = [](const char *before, const char *what, const QByteArray &told) {
            QTest::addRow("%s, %s", before, what)
                << QString::fromUtf8(before) << QString::fromUtf8(what) << QString::fromUtf8(told);
        };
        row("paused", "play", "PlaybackStatus=Playing");
        row("playing", "play", "");
        row("playing at 50", "pause", "PlaybackStatus=Paused");
        row("playing", "play on", "");
        row("playing", "volume", "Volume=0.5");
        row("playing", "everything", "LoopStatus=Track PlaybackStatus=Paused Shuffle=true Volume=0.5");
        row("playing", "to and fro", "");
        row("empty", "add",
            QByteArray("CanGoNext=true CanGoPrevious=true CanPause=true CanPlay=true CanSeek=true ") + track
                + " PlaybackStatus=Paused");
        row("paused", "clear",
            "CanGoNext=false CanGoPrevious=false CanPause=false CanPlay=false CanSeek=false Metadata= "
            "PlaybackStatus=Stopped");
        row("playing", "length 90", ""); // up to the container's
        row("playing", "length 110", track);

        row("playing", "seek", "Seeked 70000000");
        row("paused", "seek", "Seeked 70000000");
        row("playing at 50", "previous", "Seeked 0");
        row("playing at 50", "repeat", "Seeked 0");
        row("playing at 50", "stop", "PlaybackStatus=Stopped, Seeked 0");
        row("stopped", "seek", "PlaybackStatus=Paused, Seeked 70000000");
        row("playing at 50", "load again", "Seeked 0");
        row("playing at 50", "around", "Seeked 0");
        row("playing at 50", "next", track);
        row("playing at 50", "seek, next", track);
        row("playing at 50", "next, seek", QByteArray(track) + ", Seeked 70000000");
        row("playing at 50", "next, back", "Seeked 0");
        row("paused at 50", "seek, clear",
            "CanGoNext=false CanGoPrevious=false CanPause=false CanPlay=false CanSeek=false Metadata= "
            "PlaybackStatus=Stopped");
        row("playing at 50", "fail to load", "PlaybackStatus=Paused");
        row("stopped", "remove", QByteArray(track) + " PlaybackStatus=Paused");
    }
    void changesAreTold()
    {
        QFETCH(QString, before);
        QFETCH(QString, what);
        MprisFixture f(m_shell);
        f.enter(before);
        change(f, what);
        QTEST(m_shell.told(), "told");
        QCOMPARE(m_shell.told(), QString());
    }

private:
    static void change(MprisFixture &f, const QString &what)
    {
        PlayerManager &player = f.player;
        if (what == u"play"_s)
            player.play();
        else if (what == u"pause"_s)
            player.pause();
        else if (what == u"play on"_s)
            player.currentTime = 20;
        else if (what == u"volume"_s)
            player.volume = 0.5;
        else if (what == u"everything"_s)
            player.volume = 0.5, player.isShuffling = true, player.isRepeating = true, player.pause();
        else if (what == u"to and fro"_s)
            player.pause(), player.play();
        else if (what == u"add"_s)
            f.add("a"_L1);
        else if (what.startsWith(u"length"_s))
            player.duration = what.section(u' ', 1).toDouble();
        else if (what == u"repeat"_s)
            player.isRepeating = true, (void)f.shell.told(), f.platform.latest().finish(),
            QCoreApplication::processEvents();
        else if (what == u"stop"_s)
            player.stop();
        else if (what == u"load again"_s)
            player.load(*player.currentTrack());
        else if (what == u"around"_s)
            player.next(), player.next(), player.next();
        else if (what == u"next, back"_s)
            player.next(), player.previous();
        else if (what == u"previous"_s)
            player.previous();
        else if (what == u"remove"_s)
            player.removeTrack(*player.currentTrack());
        else if (what == u"fail to load"_s)
            f.platform.unplayableNames = {u"b.mp3"_s}, player.next();
        else {
            if (what.startsWith(u"seek"_s))
                player.seek(70);
            if (what.contains(u"next"_s))
                player.next();
            if (what.endsWith(u", seek"_s))
                player.seek(70);
            if (what.endsWith(u"clear"_s))
                player.clearPlaylist();
        }
    }

    QTemporaryDir m_runtime;
    PrivateBus m_bus;
    Shell m_shell{m_bus};
};

LUMAVERDINE_TEST(MprisTest)
#include "MprisTest.moc"
