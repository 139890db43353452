#include "decoder/DecoderModule.h"
#include "tests/TestProgram.h"
#include "tests/playback/WavFile.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <algorithm>
#include <cerrno>
#include <sys/inotify.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

/// What a file may hold that must not be taken for sound, and must not make anything else be opened.
class RefusalTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    void verifyRefused(const QString &name, const QByteArray &content)
    {
        const QString path = m_folder.filePath(name);
        QVERIFY(WavFile::save(path, content));
        QElapsedTimer timer;
        timer.start();
        auto file = openRegularFile(QUrl::fromLocalFile(path));
        const auto opened = DecoderModule::load().value()->open(file.take(), nullptr);
        QVERIFY2(opened.isError(), qPrintable(name));
        QVERIFY(!opened.error().description.isEmpty());
        QVERIFY(!opened.error().description.contains(u'\n'));
        QVERIFY(timer.elapsed() < 2000);
    }

    static QByteArray jpeg()
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QImage image(64, 64, QImage::Format_RGB32);
        image.fill(Qt::red);
        image.save(&buffer, "JPEG");
        return bytes;
    }

private Q_SLOTS:
    void contentThatIsNotSound_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray wav = WavFile::encoded(WavFile::countingSamples(1000, 1), 48000, 1);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("one byte") << QByteArray("R");
        QTest::newRow("header only") << wav.first(44);
        QTest::newRow("half a header") << wav.first(20);
        QTest::newRow("ID3 header only") << QByteArray("ID3\4\0\0\0\0\0\0", 10);
        QTest::newRow("JPEG") << jpeg();
        QTest::newRow("text") << QByteArray("Lumaverdine\n").repeated(1000);
        QTest::newRow("zeros") << QByteArray(100'000, '\0');
    }

    void contentThatIsNotSound()
    {
        QFETCH(QByteArray, content);
        verifyRefused(u"a.mp3"_s, content);
        verifyRefused(u"a.m4a"_s, content);
    }

    void randomBytes()
    {
        QRandomGenerator random(20);
        for (int round = 0; round < 40; ++round) {
            QByteArray content(64 * 1024, Qt::Uninitialized);
            std::generate(content.begin(), content.end(), [&] { return char(random.generate()); });
            verifyRefused(u"random%1.mp3"_s.arg(round), content);
        }
    }

    void filesThatReferToOthers_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray wav = WavFile::encoded(WavFile::countingSamples(48000, 1), 48000, 1);
        const QString target = m_folder.filePath(u"target.wav"_s);
        QVERIFY(WavFile::save(target, wav));
        const QByteArray path = target.toUtf8();
        QTest::newRow("HLS") << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + path
                + "\n#EXT-X-ENDLIST\n";
        QTest::newRow("ffconcat") << "ffconcat version 1.0\nfile '" + path + "'\n";
        QTest::newRow("SDP") << QByteArray("v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                                           "m=audio 5004 RTP/AVP 0\n");
        QTest::newRow("DASH")
            << "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" "
               "type=\"static\"><Period><AdaptationSet mimeType=\"audio/mp4\"><Representation "
               "id=\"1\"><BaseURL>"
                + path + "</BaseURL></Representation></AdaptationSet></Period></MPD>";
    }

    void filesThatReferToOthers()
    {
        QFETCH(QByteArray, content);
        const FileDescriptor watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        const QByteArray target = m_folder.filePath(u"target.wav"_s).toUtf8();
        QVERIFY(inotify_add_watch(watch.get(), target.constData(), IN_OPEN | IN_ACCESS) >= 0);
        verifyRefused(u"b.mp3"_s, content);
        verifyRefused(u"b.m4a"_s, content);
        char event[4096];
        QCOMPARE(read(watch.get(), event, sizeof event), ssize_t(-1));
        QCOMPARE(errno, EAGAIN);
    }
};

LUMAVERDINE_TEST(RefusalTest)
#include "RefusalTest.moc"
