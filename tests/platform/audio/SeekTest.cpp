#include "platform/audio/DecoderModule.h"

#include <QRandomGenerator>
#include <QTest>
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<Decoder> openDecoder(const QString &name)
{
    auto file = openRegularFile(QUrl::fromLocalFile(QStringLiteral(TEST_MEDIA "/") + name));
    return DecoderModule::load().value()->open(file.take(), nullptr).take();
}

/// Samples from where the decoder stands, at most about `limit` of them.
std::vector<float> decode(Decoder &decoder, std::size_t limit = SIZE_MAX)
{
    std::vector<float> samples;
    while (samples.size() < limit) {
        const auto block = decoder.read();
        if (block.isError() || block.value().samples.empty())
            break;
        samples.insert(samples.end(), block.value().samples.begin(), block.value().samples.end());
    }
    return samples;
}

double difference(std::span<const float> one, std::span<const float> other)
{
    double largest = 0;
    for (std::size_t index = 0; index < std::min(one.size(), other.size()); ++index)
        largest = std::max(largest, double(std::abs(one[index] - other[index])));
    return largest;
}

} // namespace

/// What is decoded after a seek, beside a decode of the whole file.
class SeekTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void gaplessFilesHaveTheirExactLength_data()
    {
        QTest::addColumn<qint64>("frames");
        QTest::newRow("song.mp3") << qint64(88'200);
        QTest::newRow("alac.m4a") << qint64(22'050);
        QTest::newRow("opus.opus") << qint64(96'000);
        QTest::newRow("vorbis.ogg") << qint64(88'200);
        QTest::newRow("flac.flac") << qint64(22'050);
        QTest::newRow("flac-without-total.oga") << qint64(32'000);
        QTest::newRow("wavpack.wv") << qint64(16'000);
        QTest::newRow("trueaudio.tta") << qint64(16'000);
        QTest::newRow("plain.wav") << qint64(8'000);
        QTest::newRow("plain.aiff") << qint64(8'000);
    }

    void gaplessFilesHaveTheirExactLength()
    {
        QFETCH(qint64, frames);
        QCOMPARE(qint64(decode(*openDecoder(QString::fromUtf8(QTest::currentDataTag()))).size()), frames);
    }

    void seekLandsOnTheSample_data()
    {
        // What may differ: nothing, but where a codec fills bands with noise or goes on from what it has
        // heard.
        QTest::addColumn<double>("tolerance");
        QTest::newRow("song.mp3") << 1e-5;
        QTest::newRow("constant-rate-no-header.mp3") << 1e-5;
        QTest::newRow("variable-rate-no-header.mp3") << 1e-5;
        QTest::newRow("aac.m4a") << 5e-3;
        QTest::newRow("adts.aac") << 5e-3;
        QTest::newRow("opus.opus") << 5e-3;
        QTest::newRow("alac.m4a") << 0.0;
        QTest::newRow("vorbis.ogg") << 0.0;
        QTest::newRow("coverart.ogg") << 0.0;
        QTest::newRow("flac.flac") << 0.0;
        QTest::newRow("flac-without-total.oga") << 0.0;
        QTest::newRow("wavpack.wv") << 0.0;
        QTest::newRow("trueaudio.tta") << 0.0;
        QTest::newRow("plain.wav") << 0.0;
        QTest::newRow("plain.aiff") << 0.0;
    }

    void seekLandsOnTheSample()
    {
        QFETCH(double, tolerance);
        const auto decoder = openDecoder(QString::fromUtf8(QTest::currentDataTag()));
        QCOMPARE(decoder->format().channels, 1);
        const auto whole = decode(*decoder);
        QRandomGenerator random(3);
        QList<qint64> targets{0, 1, qint64(whole.size()) - 1};
        while (targets.size() < 20)
            targets.append(random.bounded(qint64(whole.size())));
        for (const qint64 target : targets) {
            QVERIFY(decoder->seek(target));
            const auto block = decoder->read();
            QVERIFY(!block.isError());
            QCOMPARE(block.value().position, target);
            std::vector<float> samples(block.value().samples.begin(), block.value().samples.end());
            const auto more = decode(*decoder, 3000);
            samples.insert(samples.end(), more.begin(), more.end());
            const double found = difference(std::span(whole).subspan(std::size_t(target)), samples);
            QVERIFY2(found <= tolerance, qPrintable(u"%1 at %2"_s.arg(found).arg(target)));
        }
    }

    void millisecondContainersLandWithinOne_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("WMA") << u"wma.wma"_s;
        QTest::newRow("Matroska") << u"matroska.mka"_s;
    }

    void millisecondContainersLandWithinOne()
    {
        QFETCH(QString, name);
        const auto decoder = openDecoder(name);
        const auto whole = decode(*decoder);
        const int slack = decoder->format().rate / 1000 + 1;
        for (const qint64 target : {5'000, 20'000, 40'000, 60'000}) {
            QVERIFY(decoder->seek(target));
            const auto samples = decode(*decoder, 3000);
            double least = 1;
            for (int shift = -slack; shift <= slack; ++shift)
                least = std::min(
                    least, difference(std::span(whole).subspan(std::size_t(target + shift)), samples));
            QVERIFY2(least < 0.02, qPrintable(u"%1 at %2"_s.arg(least).arg(target)));
        }
    }
};

QTEST_GUILESS_MAIN(SeekTest)
#include "SeekTest.moc"
