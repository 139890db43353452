#include "metadata/MediaBatch.h"
#include "metadata/MediaReader.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/metadata/HeapSize.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QString title(const MediaAsset &asset)
{
    const auto titles = metadataItems(asset.commonMetadata(), CommonIdentifier::Title);
    return titles.isEmpty() ? QString() : titles.first().stringValue().value_or(QString());
}

QList<QUrl> filesOf(const QString &folder)
{
    QList<QUrl> urls;
    for (const QFileInfo &info : QDir(folder).entryInfoList(QDir::Files, QDir::Name))
        urls.append(QUrl::fromLocalFile(info.filePath()));
    return urls;
}

/// Whether all threads but this one wait for something.
bool othersSleep()
{
    for (const QString &thread : QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(u"/proc/self/task/"_s + thread + u"/stat"_s);
        if (thread.toInt() != gettid() && file.open(QIODevice::ReadOnly) && !file.readAll().contains(") S "))
            return false;
    }
    return true;
}

} // namespace

class MediaBatchTest : public QObject {
    Q_OBJECT

private:
    /// A folder of forty tagged files, every tenth of which does not answer.
    struct MixedFolder {
        QTemporaryDir folder;
        QString silent = folder.filePath(u"0 silent.mp3"_s);

        MixedFolder()
        {
            const QString good = QStringLiteral(TEST_MEDIA "/id3v2.3.mp3");
            if (!QFile::copy(good, silent))
                qFatal("The temporary folder is not writable.");
            for (int i = 1; i < 40; ++i) {
                const QString name = folder.filePath(u"%1.mp3"_s.arg(i, 2, 10, QLatin1Char('0')));
                const bool isSilent = i % 10 == 0;
                if (isSilent ? link(qPrintable(silent), qPrintable(name)) != 0 : !QFile::copy(good, name))
                    qFatal("The temporary folder is not writable.");
            }
        }
    };

private Q_SLOTS:
    void everyFileIsReadInItsTurn()
    {
        const QList<QUrl> urls = filesOf(QStringLiteral(TEST_MEDIA));
        QVERIFY(urls.size() > 50);
        MediaBatch media(urls);
        for (const QUrl &url : urls) {
            const MediaAsset asset = media.take();
            const MediaAsset alone(readMedia(url));
            QCOMPARE(asset.duration().value, alone.duration().value);
            QCOMPARE(asset.duration().timescale, alone.duration().timescale);
            QCOMPARE(asset.commonMetadata().size(), alone.commonMetadata().size());
            QCOMPARE(title(asset), title(alone));
        }
    }

    void filesMayBePassedOverAndOthersAskedFor()
    {
        QList<QUrl> urls;
        for (const char *name : {"id3v2.3.mp3", "several-values.mp3", "empty-title.mp3", "blank-title.mp3"})
            urls.append(QUrl::fromLocalFile(QStringLiteral(TEST_MEDIA "/") + QString::fromLatin1(name)));
        MediaBatch media(urls.first(3));
        QCOMPARE(title(media.take(urls.at(1))), u"First title"_s);
        QCOMPARE(title(media.take(urls.at(0))), u"Título 2.3"_s);
        QCOMPARE(title(media.take(urls.at(3))), u" "_s);
        QCOMPARE(media.take().duration().value, MediaAsset(urls.at(2)).duration().value);
    }

    void largeCoversAreNotReadFarAhead()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizer's heap is not counted.");
#endif
        constexpr int side = 1'800; // 12 MB
        const CoverFiles files;
        QList<QUrl> urls;
        for (int i = 0; i < 8; ++i)
            urls.append(files.save(QString::number(i), QByteArray(side * side * 4, 'x')));
        const double before = heapMebibytes();
        MediaBatch media(urls);
        QTRY_VERIFY(heapMebibytes() - before > 20 && othersSleep());
        const double more = heapMebibytes() - before;
        QVERIFY2(more < 40, qPrintable(QString::number(more)));
        for (qsizetype i = 0; i < urls.size(); ++i)
            QCOMPARE(media.take().firstPicture().size(), side * side * 4);
    }

    void batchMayEndBeforeItsFiles()
    {
        for (const int taken : {0, 1, 10}) {
            MediaBatch media(filesOf(QStringLiteral(TEST_MEDIA)));
            for (int i = 0; i < taken; ++i)
                (void)media.take();
        }
        MediaBatch nothing({});
    }

    void goodFilesBesideSilentOnesKeepTheirTags()
    {
        const MixedFolder mixed;
        FaultyMedium medium(mixed.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        const QList<QUrl> urls = filesOf(mixed.folder.path());
        QElapsedTimer timer;
        timer.start();
        MediaBatch media(urls);
        for (qsizetype i = 0; i < urls.size(); ++i)
            QCOMPARE(title(media.take()), i % 10 == 0 ? QString() : u"Título 2.3"_s);
        QCOMPARE(medium.faults(), 4);
        QVERIFY2(timer.elapsed() < 7000, qPrintable(QString::number(timer.elapsed())));
    }

    void mediumThatAnswersAgainIsRead()
    {
        const MixedFolder mixed;
        FaultyMedium medium(mixed.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        const QUrl url = QUrl::fromLocalFile(mixed.silent);
        QCOMPARE(title(MediaBatch({url}).take()), QString());
        medium.set(FaultyMedium::Fault::None);
        QCOMPARE(title(MediaBatch({url}).take()), u"Título 2.3"_s);
    }

    void readThatASignalInterruptsIsDoneAgain()
    {
        const MixedFolder mixed;
        FaultyMedium medium(mixed.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Interruption);
        const MediaAsset asset(readMedia(QUrl::fromLocalFile(mixed.silent)));
        QVERIFY(medium.faults() > 1);
        QCOMPARE(title(asset), u"Título 2.3"_s);
        QCOMPARE(asset.duration().seconds(), 2.0);
    }

    void batchMayEndWhileAMediumIsSilent()
    {
        const MixedFolder mixed;
        FaultyMedium medium(mixed.silent.toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        QElapsedTimer timer;
        timer.start();
        {
            MediaBatch media({QUrl::fromLocalFile(mixed.silent)});
            QTRY_VERIFY(medium.faults() > 0);
        }
        QVERIFY(timer.elapsed() < 1000);
    }
};

LUMAVERDINE_TEST(MediaBatchTest)
#include "MediaBatchTest.moc"
