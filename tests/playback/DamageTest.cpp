#include "decoder/DecoderModule.h"
#include "metadata/MediaAsset.h"
#include "tests/MediaFile.h"
#include "tests/MemoryFile.h"
#include "tests/TestProgram.h"
#include "tests/playback/DamagedBytes.h"
#include "tests/playback/HandOutput.h"
#include "tests/playback/RecordingDelegate.h"

#include <QDir>
#include <QElapsedTimer>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int corruptions = DAMAGE_ROUNDS; // of each file
constexpr qint64 longest = 5000; // milliseconds that any file may take, a few seconds of sound as they are

Result<std::unique_ptr<Decoder>> openDecoder(const MemoryFile &file)
{
    return DecoderModule::load().value()->open(file.open(), nullptr);
}

/// Whether the sound of `file`, if there is any, ends by itself in bounded time, and each error is named.
bool endsByItself(const MemoryFile &file)
{
    QElapsedTimer timer;
    timer.start();
    const auto opened = openDecoder(file);
    if (opened.isError())
        return !opened.error().description.isEmpty() && timer.elapsed() < longest;
    while (timer.elapsed() < longest) {
        const auto block = opened.value()->read();
        if (block.isError())
            return !block.error().description.isEmpty();
        if (block.value().samples.empty())
            return true;
    }
    return false;
}

/// Whether what is read of `file` is well formed and arrives in bounded time.
bool hasSaneMetadata(const MemoryFile &file)
{
    QElapsedTimer timer;
    timer.start();
    const MediaTime length = readMedia(file.url()).duration;
    return timer.elapsed() < longest && (!length.isNumeric() || length.value >= 0);
}

/// Plays `file` faster than time passes until its end or an error is reported; false where neither is.
bool isPlayedToItsEnd(const MemoryFile &file)
{
    auto opened = openDecoder(file);
    if (opened.isError())
        return true;
    HandOutput *output = nullptr;
    RecordingDelegate delegate;
    const auto player =
        Session::make(opened.take(), std::make_shared<std::atomic<bool>>(false), HandOutput::factory(output));
    player->setDelegate(&delegate);
    player->play();
    return QTest::qWaitFor([&] {
        output->advance(24'000);
        return delegate.finishes() + delegate.errors() == 1 && !player->isPlaying();
    });
}

} // namespace

/// Files that were cut off or have wrong bytes in them: they sound as far as they go, or are refused.
class DamageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFile_data()
    {
        QTest::addColumn<QString>("name");
        QStringList names = QDir(QStringLiteral(TEST_MEDIA)).entryList(QDir::Files);
        names.removeIf(
            [](const QString &name) { return openDecoder(MemoryFile(mediaFile(name))).isError(); });
        QVERIFY(names.size() > 30);
        for (const QString &name : names)
            QTest::newRow(qPrintable(name)) << name;
    }

    void everyFile()
    {
        QFETCH(QString, name);
        const QByteArray whole = mediaFile(name);
        for (const int percent : {25, 50, 75}) {
            const MemoryFile file(whole.first(whole.size() * percent / 100));
            QVERIFY2(hasSaneMetadata(file), qPrintable(u"cut at %1 %"_s.arg(percent)));
            QVERIFY2(isPlayedToItsEnd(file), qPrintable(u"cut at %1 %"_s.arg(percent)));
        }
        for (int seed = 1; seed <= corruptions; ++seed) {
            const MemoryFile file(DamagedBytes::corrupted(whole, quint32(seed)));
            QVERIFY2(hasSaneMetadata(file), qPrintable(u"seed %1"_s.arg(seed)));
            QVERIFY2(endsByItself(file), qPrintable(u"seed %1"_s.arg(seed)));
        }
    }
};

LUMAVERDINE_TEST(DamageTest)
#include "DamageTest.moc"
