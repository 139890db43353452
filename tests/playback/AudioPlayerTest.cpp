#include "playback/AudioPlayer.h"
#include "tests/TestProgram.h"
#include "tests/playback/RecordingDelegate.h"
#include "tests/playback/WavFile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

qsizetype countOf(const QString &folder)
{
    return QDir(folder)
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

qsizetype threads()
{
    return countOf(u"/proc/self/task"_s);
}

qsizetype descriptors()
{
    return countOf(u"/proc/self/fd"_s);
}

} // namespace

/// Players of real files, on a machine without a sound server.
class AudioPlayerTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_home;

    QUrl saveWav(double seconds)
    {
        const QString path = m_folder.filePath(u"sound %1.wav"_s.arg(seconds));
        const auto samples = WavFile::positionCodedSamples(48000, seconds);
        return WavFile::save(path, WavFile::encoded(samples, 48000, 2)) ? QUrl::fromLocalFile(path) : QUrl();
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("HOME", m_home.path().toUtf8());
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_COOKIE"})
            qunsetenv(name);
        qputenv("PULSE_SERVER", "unix:" + m_folder.filePath(u"nobody"_s).toUtf8());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"No sound server answers"_s));
        const auto player = AudioPlayer::open(saveWav(1)).take();
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.05);
    }

    void cleanupTestCase() { QCOMPARE(countOf(m_home.path()), 0); }

    void playsToTheEndWithoutASoundServer()
    {
        RecordingDelegate delegate;
        const auto player = AudioPlayer::open(saveWav(0.5)).take();
        QCOMPARE(player->duration(), 0.5);
        player->setDelegate(&delegate);
        player->play();
        QTRY_COMPARE(delegate.finishes(), 1);
        QVERIFY(delegate.wasSuccessful());
    }

    void fiveHundredPlayersLeaveNoThreadAndNoDescriptor()
    {
        const QUrl url = saveWav(1);
        const qsizetype threadsBefore = threads();
        const qsizetype descriptorsBefore = descriptors();
        for (int count = 0; count < 500; ++count) {
            auto opened = AudioPlayer::open(url);
            QVERIFY(!opened.isError());
            const auto player = opened.take();
            QVERIFY(player->prepareToPlay());
            player->play();
        }
        // Fewer where the thread of an earlier player had not ended yet.
        QTRY_VERIFY2(threads() <= threadsBefore, qPrintable(QString::number(threads())));
        QTRY_VERIFY2(descriptors() <= descriptorsBefore, qPrintable(QString::number(descriptors())));
    }

    void refusesWhatIsNotAFile_data()
    {
        QTest::addColumn<QUrl>("url");
        const QString fifo = m_folder.filePath(u"fifo.mp3"_s);
        mkfifo(fifo.toUtf8().constData(), 0600);
        QTest::newRow("FIFO") << QUrl::fromLocalFile(fifo);
        QTest::newRow("device") << QUrl::fromLocalFile(u"/dev/zero"_s);
        QTest::newRow("folder") << QUrl::fromLocalFile(m_folder.path());
        QTest::newRow("missing") << QUrl::fromLocalFile(m_folder.filePath(u"missing.mp3"_s));
        QTest::newRow("address") << QUrl(u"https://host/a.mp3"_s);
        QTest::newRow("nothing") << QUrl();
    }

    void refusesWhatIsNotAFile()
    {
        QFETCH(QUrl, url);
        QElapsedTimer timer;
        timer.start();
        const auto opened = AudioPlayer::open(url);
        QVERIFY(opened.isError());
        QVERIFY(!opened.error().description.isEmpty());
        QVERIFY(!opened.error().description.contains(u'\n'));
        QVERIFY(timer.elapsed() < 1000);
    }

    void deletedFilePlaysOn()
    {
        RecordingDelegate delegate;
        const QUrl url = saveWav(0.6);
        const auto player = AudioPlayer::open(url).take();
        QVERIFY(QFile::remove(url.toLocalFile()));
        player->setDelegate(&delegate);
        player->play();
        QTRY_COMPARE(delegate.finishes(), 1);
        QVERIFY(delegate.wasSuccessful());
    }
};

LUMAVERDINE_TEST(AudioPlayerTest)
#include "AudioPlayerTest.moc"
