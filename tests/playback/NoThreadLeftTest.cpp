#include "metadata/MediaBatch.h"
#include "playback/AudioPlayer.h"
#include "tests/TestProgram.h"
#include "tests/playback/PulseDaemon.h"
#include "tests/playback/ScarceThreads.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

const QUrl song = QUrl::fromLocalFile(QStringLiteral(TEST_MEDIA "/id3v2.3.mp3"));

} // namespace

/// What becomes of the player while the system has no thread left, and afterwards.
class NoThreadLeftTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void playerGoesOnOnceThereAreThreadsAgain()
    {
        PulseDaemon daemon;
        QVERIFY(daemon.start());
        QTest::failOnWarning(QRegularExpression(u"No sound server answers"_s));
        std::shared_ptr<AudioPlayer> player;
        {
            const ScarceThreads scarce;
            auto opened = AudioPlayer::open(song);
            QVERIFY(!opened.isError());
            player = opened.take();
            QVERIFY(!player->prepareToPlay());
            QVERIFY(!player->play());
            QVERIFY(scarce.refused() > 0);
            QCOMPARE(player->currentTime(), 0.0);
        }
        QVERIFY(player->prepareToPlay());
        QVERIFY(player->play());
        QTRY_VERIFY(player->currentTime() > 0.1);
    }

    void metadataAreReadWithoutAThread()
    {
        const ScarceThreads scarce;
        QCOMPARE(openMedia(song).commonMetadata.size(), 4);
        MediaBatch media({song, song});
        for (int i = 0; i < 2; ++i)
            QCOMPARE(media.take()->asset.commonMetadata.size(), 4);
        QVERIFY(!media.take());
        QVERIFY(scarce.refused() > 0);
    }
};

LUMAVERDINE_TEST(NoThreadLeftTest)
#include "NoThreadLeftTest.moc"
