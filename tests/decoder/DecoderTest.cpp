#include "decoder/DecoderModule.h"
#include "tests/MatroskaFile.h"
#include "tests/MemoryFile.h"
#include "tests/TestProgram.h"
#include "tests/decoder/ReadAll.h"
#include "tests/playback/WavFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int rate = 48000;

Result<std::unique_ptr<Decoder>> openDecoder(const QString &path, const FormatChoice &chooseFormat = {})
{
    auto file = openRegularFile(QUrl::fromLocalFile(path));
    if (file.isError())
        return file.error();
    return DecoderModule::load().value()->open(file.take(), nullptr, chooseFormat);
}

/// Chooses whatever the file's own format is.
FormatChoice always(AudioFormat format)
{
    return [format](AudioFormat) { return format; };
}

std::vector<float> sine(double frequency, int ofRate, double seconds = 1)
{
    std::vector<float> samples(size_t(ofRate * seconds));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = 0.5F * float(std::sin(2 * M_PI * frequency * double(i) / ofRate));
    return samples;
}

} // namespace

class DecoderTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString saveWav(const std::vector<float> &samples, int channels, int fileRate = rate)
    {
        const QString path = m_folder.filePath(u"sound.wav"_s);
        return WavFile::save(path, WavFile::encoded(samples, fileRate, channels)) ? path : QString();
    }

private Q_SLOTS:
    void moduleIsLoadedOnce()
    {
        QVERIFY(!DecoderModule::load().isError());
        QCOMPARE(DecoderModule::load().value(), DecoderModule::load().value());
    }

    void rateThatNoSoundHasIsRefused()
    {
        const std::vector<float> samples(25);
        for (const int fileRate : {1, 3, 999})
            QVERIFY(openDecoder(saveWav(samples, 1, fileRate)).isError());
        QVERIFY(!openDecoder(saveWav(samples, 1, 1000)).isError());
    }

    void everySampleOfAWavArrives_data()
    {
        QTest::addColumn<int>("channels");
        QTest::newRow("mono") << 1;
        QTest::newRow("stereo") << 2;
    }

    void everySampleOfAWavArrives()
    {
        QFETCH(int, channels);
        const auto samples = WavFile::countingSamples(rate + 17, channels);
        const auto decoder = openDecoder(saveWav(samples, channels)).take();
        QCOMPARE(decoder->format(), (AudioFormat{rate, channels}));
        QCOMPARE(decoder->duration(), double(rate + 17) / rate);
        QVERIFY(!decoder->isDurationGuessed());
        QVERIFY(readAll(*decoder) == samples);
        QVERIFY(!decoder->isDamaged());
    }

    void sixChannelsAreMixedToStereoWithoutExceedingFullScale()
    {
        const std::vector<float> samples(size_t(6 * rate), 1.0F);
        const auto decoder = openDecoder(saveWav(samples, 6)).take();
        QCOMPARE(decoder->format().channels, 2);
        const auto mixed = readAll(*decoder);
        QCOMPARE(mixed.size(), size_t(2 * rate));
        QVERIFY(*std::max_element(mixed.begin(), mixed.end()) <= 1.0001F);
        QVERIFY(*std::min_element(mixed.begin(), mixed.end()) > 0.5F);
    }

    void ratesAbove192KilohertzAreBroughtDown()
    {
        const auto decoder = openDecoder(saveWav(WavFile::countingSamples(384'000, 1), 1, 384'000)).take();
        QCOMPARE(decoder->format().rate, 192'000);
        const auto frames = qint64(readAll(*decoder).size());
        QVERIFY2(std::abs(frames - 192'000) <= 32, qPrintable(QString::number(frames)));
    }

    void resamplingGoesOnFromFrameToFrame()
    {
        const auto samples = readAll(*openDecoder(saveWav(sine(10'000, 384'000), 1, 384'000)).take());
        const auto expected = sine(10'000, 192'000);
        for (size_t i = 100; i + 100 < samples.size(); ++i)
            QVERIFY2(std::abs(samples[i] - expected[i]) < 0.001F, qPrintable(QString::number(i)));
    }

    void chosenFormatKnowsTheFilesOwn()
    {
        std::optional<AudioFormat> told;
        const auto choose = [&told](AudioFormat own) {
            told = own;
            return AudioFormat{own.rate, 2};
        };
        const auto samples = WavFile::countingSamples(rate + 17, 1);
        const auto decoder = openDecoder(saveWav(samples, 1), choose).take();
        QCOMPARE(told, (AudioFormat{rate, 1}));
        QCOMPARE(decoder->format(), (AudioFormat{rate, 2}));
        const auto read = readAll(*decoder);
        QCOMPARE(read.size(), 2 * samples.size());
        for (size_t i = 0; i < read.size(); ++i)
            QCOMPARE(read[i], samples[i / 2]);
    }

    void highestSoundSurvivesAnotherRate_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::newRow("48 to 44.1 kHz") << 48000 << 44100;
        QTest::newRow("44.1 to 48 kHz") << 44100 << 48000;
        QTest::newRow("96 to 44.1 kHz") << 96000 << 44100;
    }

    /// The whole of it, as long as it was.
    void highestSoundSurvivesAnotherRate()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        const auto decoder = openDecoder(saveWav(sine(20'000, from), 1, from), always({to, 1})).take();
        QCOMPARE(decoder->duration(), 1.0);
        const auto samples = readAll(*decoder);
        const auto expected = sine(20'000, to);
        QCOMPARE(samples.size(), expected.size());
        for (size_t i = 200; i + 200 < samples.size(); ++i)
            QVERIFY2(std::abs(samples[i] - expected[i]) < 0.002F, qPrintable(QString::number(i)));
    }

    /// Within half a frame, because a packet need not begin with a whole frame of another rate.
    void seekFindsItsPlaceAtAnotherRate()
    {
        const QString path = saveWav(sine(441, 44100, 3), 1, 44100);
        const auto whole = readAll(*openDecoder(path, always({rate, 1})).take());
        constexpr double halfAFrame = 0.5 * M_PI * 441 / rate; // where the sine is steepest
        for (const std::int64_t target : {1, 12'345, rate + 1, 3 * rate - 10}) {
            const auto decoder = openDecoder(path, always({rate, 1})).take();
            QVERIFY(decoder->seek(target, {}));
            const auto rest = readAll(*decoder);
            QCOMPARE(rest.size(), whole.size() - size_t(target));
            for (size_t i = 0; i < rest.size(); ++i)
                QVERIFY(std::abs(double(rest[i]) - double(whole[size_t(target) + i])) <= halfAFrame);
        }
    }

    /// Of what is resampled, the last frames are still on their way when others come that are not.
    void changeOfTheRateLosesNoFrame()
    {
        QFile file(QStringLiteral(TEST_MEDIA "/adts.aac")); // 22,050 frames a second
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray usual = file.readAll();
        QByteArray faster = usual;
        int packets = 0;
        for (qsizetype i = 0; i < faster.size(); ++packets) {
            constexpr char rateOf24000 = 6 << 2;
            faster[i + 2] = char((faster[i + 2] & ~0x3C) | rateOf24000);
            i += (qFromBigEndian<quint32>(faster.constData() + i + 3) >> 13) & 0x1FFF;
        }
        const MemoryFile sound(usual + faster + usual);
        const auto decoder = DecoderModule::load().value()->open(sound.open(), nullptr).take();
        QCOMPARE(decoder->format(), (AudioFormat{22050, 1}));
        const double expected = 1024 * packets * (2 + 22050.0 / 24000);
        const double surplus = double(readAll(*decoder).size()) - expected;
        QVERIFY2(std::abs(surplus) < 4, qPrintable(QString::number(surplus)));
    }

    void memoryOfWhatWasPlayedIsGivenBack()
    {
        const QString path = saveWav(std::vector<float>(384'000, 0.5F), 1, 384'000);
        const auto play = [&path] {
            (void)readAll(*openDecoder(path).take());
            (void)openDecoder(path).take()->read(); // and is closed on the way
        };
        play(); // what is made once for all
        const auto before = mallinfo2().uordblks;
        for (int round = 0; round < 20; ++round)
            play();
        const auto kept = qint64(mallinfo2().uordblks) - qint64(before);
        QVERIFY2(kept < 200'000, qPrintable(QString::number(kept)));
    }

    void seekLandsOnTheSample_data()
    {
        QTest::addColumn<qint64>("frame");
        for (const qint64 frame : {0, 1, 4799, 4801, 23'456, 2 * rate - 1})
            QTest::newRow(qPrintable(QString::number(frame))) << frame;
    }

    void seekLandsOnTheSample()
    {
        QFETCH(qint64, frame);
        const auto samples = WavFile::countingSamples(2 * rate, 2);
        const auto decoder = openDecoder(saveWav(samples, 2)).take();
        readAll(*decoder);
        QVERIFY(decoder->seek(frame, {}));
        const auto block = decoder->read();
        QVERIFY(!block.isError());
        QCOMPARE(block.value().position, frame);
        QCOMPARE(block.value().samples.front(), samples[size_t(frame * 2)]);
        QCOMPARE(qint64(block.value().samples.size() + readAll(*decoder).size()), (2 * rate - frame) * 2);
    }

    void seekPastTheEndLeadsToTheEnd()
    {
        const auto decoder = openDecoder(saveWav(WavFile::countingSamples(rate, 1), 1)).take();
        QVERIFY(decoder->seek(10 * rate, {}));
        const auto block = decoder->read();
        QVERIFY(!block.isError());
        QVERIFY(block.value().samples.empty());
    }

    void badPacketsAreLeftOutUntilThereAreTooMany_data()
    {
        QTest::addColumn<double>("seconds"); // that each lasts; 0 if the file does not tell
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("isTooMuch");
        QTest::newRow("99") << 0.0 << 99 << false;
        QTest::newRow("100") << 0.0 << 100 << true;
        QTest::newRow("just under 2 s") << 0.019 << 99 << false;
        QTest::newRow("2 s") << 0.5 << 4 << true;
        QTest::newRow("less than 2 s") << 0.5 << 3 << false;
    }

    void badPacketsAreLeftOutUntilThereAreTooMany()
    {
        QFETCH(double, seconds);
        QFETCH(int, count);
        QFETCH(bool, isTooMuch);
        using namespace MatroskaFile;
        const QByteArray good = block(QByteArray(1600, '\x21'));
        const QByteArray bad = block("\x21").repeated(count); // half a sample each
        const QByteArray nanoseconds = QByteArray::number(qint64(seconds * 1e9), 16).rightJustified(8, '0');
        const QByteArray length =
            seconds > 0 ? element("23e383", QByteArray::fromHex(nanoseconds)) : QByteArray();
        const MemoryFile file(encoded(track(1, length), {}, good + bad + good + bad + good));
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        size_t samples = 0;
        auto chunk = decoder->read();
        for (; !chunk.isError() && !chunk.value().samples.empty(); chunk = decoder->read())
            samples += chunk.value().samples.size();
        QCOMPARE(chunk.isError(), isTooMuch);
        QCOMPARE(samples, size_t(isTooMuch ? 800 : 3 * 800));
        QVERIFY(decoder->isDamaged());
    }

    void truncatedFileEndsWhereItIsCut()
    {
        const QByteArray bytes = WavFile::encoded(WavFile::countingSamples(rate, 1), rate, 1);
        const QString path = m_folder.filePath(u"cut.wav"_s);
        QVERIFY(WavFile::save(path, bytes.first(44 + 4 * 1000)));
        const auto decoder = openDecoder(path).take();
        QCOMPARE(readAll(*decoder).size(), size_t(1000));
    }
};

LUMAVERDINE_TEST(DecoderTest)
#include "DecoderTest.moc"
