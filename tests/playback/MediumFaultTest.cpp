#include "metadata/MediaBatch.h"
#include "playback/AudioPlayer.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/playback/RecordingDelegate.h"
#include "tests/playback/WavFile.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <cmath>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;
using Fault = FaultyMedium::Fault;

namespace {

constexpr int rate = 48000;
constexpr qint64 longestWait = 3500; // milliseconds; three seconds and a little for a busy machine

/// The child process of a test: opens a file that does not answer, and ends as any program does.
int openAndEnd(const char *path)
{
    FaultyMedium medium(path);
    medium.set(Fault::Silence);
    const QUrl url = QUrl::fromLocalFile(QString::fromLocal8Bit(path));
    const bool isOpen = !AudioPlayer::open(url).isError();
    std::puts("opened");
    std::fflush(stdout);
    return isOpen ? 1 : 0;
}

} // namespace

/// Files that vanish, shrink or stop to answer, on a machine without a sound server.
class MediumFaultTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QUrl saveWav(const QString &name, double seconds)
    {
        const QString path = m_folder.filePath(name);
        const auto samples = WavFile::positionCodedSamples(rate, seconds);
        return WavFile::save(path, WavFile::encoded(samples, rate, 2)) ? QUrl::fromLocalFile(path) : QUrl();
    }

    /// The same tagged file under many names.
    static QList<QUrl> saveLinks(const QTemporaryDir &folder, int count)
    {
        const QString first = folder.filePath(u"0.mp3"_s);
        QList<QUrl> urls{QUrl::fromLocalFile(first)};
        bool isSaved = QFile::copy(QStringLiteral(TEST_MEDIA "/id3v2.3.mp3"), first);
        for (int i = 1; i < count && isSaved; ++i) {
            const QString name = folder.filePath(u"%1.mp3"_s.arg(i));
            isSaved = link(qPrintable(first), qPrintable(name)) == 0;
            urls.append(QUrl::fromLocalFile(name));
        }
        if (!isSaved)
            qFatal("The temporary folder is not writable.");
        return urls;
    }

    static std::shared_ptr<AudioPlayer> open(const QUrl &url)
    {
        auto opened = AudioPlayer::open(url);
        return opened.isError() ? nullptr : opened.take();
    }

    /// Whether the next play goes from the start to the end.
    void verifyNextPlay(AudioPlayer &player)
    {
        RecordingDelegate delegate;
        player.setDelegate(&delegate);
        player.setCurrentTime(0);
        player.play();
        QTRY_COMPARE(delegate.finishes(), 1);
        QCOMPARE(delegate.errors(), 0);
        player.setDelegate(nullptr);
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("PULSE_SERVER", "unix:" + m_folder.filePath(u"nobody"_s).toUtf8());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"No sound server answers"_s));
        const auto player = open(saveWav(u"first.wav"_s, 0.2));
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.05);
    }

    void tracksFollowEachOtherWithoutASoundServer()
    {
        RecordingDelegate delegate;
        const auto first = open(saveWav(u"one.wav"_s, 0.3));
        first->setDelegate(&delegate);
        first->play();
        QTRY_VERIFY(first->currentTime() > 0.05);
        first->setSuccessor(saveWav(u"two.wav"_s, 0.3), {});
        QTRY_COMPARE(delegate.finishes(), 1);
        const auto second = first->takeSuccessor();
        QVERIFY(second);
        second->setDelegate(&delegate);
        QTRY_COMPARE(delegate.finishes(), 2);
        QCOMPARE(second->currentTime(), second->duration());
    }

    void importFromAMediumThatDoesNotAnswerEndsInGoodTime_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<int>("seconds");
        QTest::addColumn<int>("mostThreads"); // each waits for as long as the medium is silent
        QTest::newRow("reading") << Fault::Silence << 10 << 5;
        QTest::newRow("opening") << Fault::Absence << 3 << 1;
    }

    void importFromAMediumThatDoesNotAnswerEndsInGoodTime()
    {
        QFETCH(Fault, fault);
        QFETCH(int, seconds);
        QFETCH(int, mostThreads);
        QTemporaryDir folder;
        const QList<QUrl> urls = saveLinks(folder, 1000);
        FaultyMedium medium(urls.first().toLocalFile().toUtf8());
        medium.set(fault);
        QElapsedTimer timer;
        timer.start();
        MediaBatch media(urls);
        for (qsizetype i = 0; i < urls.size(); ++i)
            QVERIFY(!media.take()->asset.duration.isNumeric());
        QVERIFY2(timer.elapsed() < seconds * 1000 + 500, qPrintable(QString::number(timer.elapsed())));
        timer.start();
        QVERIFY(AudioPlayer::open(urls.first()).isError());
        QVERIFY2(timer.elapsed() < longestWait, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(medium.faults() > 0);
        QVERIFY2(medium.faults() <= mostThreads, qPrintable(QString::number(medium.faults())));
        medium.set(Fault::None);
        QTRY_VERIFY(openMedia(urls.first()).duration.isNumeric());
        QTRY_VERIFY(open(urls.first()));
    }

    void fileThatShrinksEndsWhereItIsCut()
    {
        RecordingDelegate delegate;
        const QUrl url = saveWav(u"shrinking.wav"_s, 20);
        const auto player = open(url);
        player->setDelegate(&delegate);
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.3);
        QVERIFY(QFile::resize(url.toLocalFile(), 44 + 8 * rate));
        QTRY_COMPARE(delegate.finishes() + delegate.errors(), 1);
        QVERIFY(!player->isPlaying());
        QVERIFY2(player->currentTime() < 4, qPrintable(QString::number(player->currentTime())));
        verifyNextPlay(*player);
        QVERIFY(std::abs(player->currentTime() - 1) < 0.05);
    }

    void mediumThatFailsIsAnErrorOfDecodingAndGetsAnotherChance()
    {
        RecordingDelegate delegate;
        const QUrl url = saveWav(u"failing.wav"_s, 3);
        FaultyMedium medium(url.toLocalFile().toUtf8());
        const auto player = open(url);
        QVERIFY(player);
        medium.set(Fault::Error, 8 * rate);
        player->setDelegate(&delegate);
        player->play();
        QTRY_COMPARE(delegate.errors(), 1);
        QVERIFY(delegate.wasErrorNamed());
        QCOMPARE(delegate.finishes(), 0);
        QVERIFY(medium.faults() > 0);
        QVERIFY(!player->isPlaying());
        medium.set(Fault::None);
        verifyNextPlay(*player);
    }

    void mediumThatFailsAtOnceIsRefused()
    {
        const QUrl url = saveWav(u"refused.wav"_s, 0.3);
        FaultyMedium medium(url.toLocalFile().toUtf8());
        medium.set(Fault::Error);
        const auto refused = AudioPlayer::open(url);
        QVERIFY(refused.isError());
        QVERIFY(!refused.error().description.isEmpty());
        QVERIFY(!openMedia(url).duration.isNumeric());
        medium.set(Fault::None);
        const auto player = open(url);
        QVERIFY(player);
        verifyNextPlay(*player);
    }

    void openingGivesUpOnAMediumThatDoesNotAnswer()
    {
        const QUrl url = saveWav(u"mute.wav"_s, 0.3);
        FaultyMedium medium(url.toLocalFile().toUtf8());
        medium.set(Fault::Silence);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(AudioPlayer::open(url).isError());
        QVERIFY2(timer.elapsed() < longestWait, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(medium.faults() > 0);
        const auto other = open(saveWav(u"other.wav"_s, 0.3));
        QVERIFY(other);
        verifyNextPlay(*other);
        medium.set(Fault::None);
        const auto player = open(url);
        QVERIFY(player);
        verifyNextPlay(*player);
    }

    void playerAnswersWhileItsMediumDoesNot()
    {
        const QUrl url = saveWav(u"hanging.wav"_s, 20);
        FaultyMedium medium(url.toLocalFile().toUtf8());
        auto player = open(url);
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.3);
        medium.set(Fault::Silence);
        QTRY_VERIFY(medium.faults() > 0);
        QElapsedTimer timer;
        timer.start();
        player->setCurrentTime(15);
        QCOMPARE(player->currentTime(), 15.0);
        player->pause();
        player->play();
        QVERIFY(player->isPlaying());
        QVERIFY(timer.elapsed() < 100);
        medium.set(Fault::None);
        QTRY_VERIFY(player->currentTime() > 15.2);
        medium.set(Fault::Silence);
        player->setCurrentTime(5);
        timer.start();
        player.reset();
        QVERIFY(timer.elapsed() < 100);
    }

    void processEndsWhileAFileDoesNotAnswer()
    {
        const QUrl url = saveWav(u"endless.wav"_s, 0.3);
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s); // its thread that waits keeps what it has
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), {u"open"_s, url.toLocalFile()});
        QVERIFY(child.waitForReadyRead(2 * longestWait));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(child.waitForFinished());
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 0);
    }
};

LUMAVERDINE_TEST(MediumFaultTest)
static const bool isOpenRegistered =
    TestProgram::add("open", [](int, char *argv[]) { return openAndEnd(argv[1]); });
#include "MediumFaultTest.moc"
