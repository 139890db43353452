#include "mpris/CoverFile.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class CoverFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        qputenv("XDG_RUNTIME_DIR", m_folder->path().toUtf8());
    }

    void coverIsAFileForTheUserOnly()
    {
        CoverFile cover;
        const QByteArray picture = encoded(QImage(20, 20, QImage::Format_RGB32), "PNG");
        show(cover, m_files.artwork(picture));
        QFile file(cover.url().toLocalFile());
        QCOMPARE(QFileInfo(file).absolutePath(), m_folder->path());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), picture);
        QCOMPARE(file.permissions() & 0x777, QFile::ReadUser | QFile::WriteUser);
    }

    void nextCoverHasAnotherName()
    {
        CoverFile cover;
        show(cover, m_files.artwork(Qt::red));
        const QUrl red = cover.url();
        show(cover, m_files.artwork(Qt::blue));
        QVERIFY(cover.url() != red);
        QCOMPARE(covers(), QStringList{cover.url().fileName()});
    }

    void formerCoverIsGoneAtOnce()
    {
        CoverFile cover;
        show(cover, m_files.artwork(Qt::red));
        const QString red = cover.url().fileName();
        cover.show(m_files.artwork(Qt::blue));
        QVERIFY(cover.url().isEmpty());
        QVERIFY(!covers().contains(red));
        QTRY_VERIFY(!cover.url().isEmpty());
        cover.show(std::nullopt);
        QVERIFY(cover.url().isEmpty());
        QCOMPARE(covers(), QStringList());
    }

    void sameCoverOfAnotherTrackStays()
    {
        CoverFile cover;
        show(cover, m_files.artwork(Qt::red));
        const QUrl url = cover.url();
        QVERIFY(!url.isEmpty());
        cover.show(m_files.artwork(Qt::red));
        QCOMPARE(cover.url(), url);
    }

    void onlyTheLatestOfManyIsShown()
    {
        CoverFile cover;
        QSignalSpy changes(&cover, &CoverFile::changed);
        for (const Qt::GlobalColor colour : {Qt::red, Qt::green, Qt::yellow, Qt::black})
            cover.show(m_files.artwork(colour));
        const QByteArray picture = encoded(QImage(20, 20, QImage::Format_RGB32), "PNG");
        cover.show(m_files.artwork(picture));
        QVERIFY(changes.wait());
        QFile file(cover.url().toLocalFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), picture);
        QCOMPARE(covers().size(), 1);
        QCOMPARE(changes.size(), 1);
    }

    void coverGoesWithItsOwner()
    {
        {
            CoverFile cover;
            show(cover, m_files.artwork(Qt::red));
            QCOMPARE(covers().size(), 1);
        }
        QCOMPARE(covers(), QStringList());
    }

    void thereIsNoneWithoutAFolder_data()
    {
        QTest::addColumn<QByteArray>("folder");
        QTest::newRow("none") << QByteArray();
        QTest::newRow("missing") << QByteArray("/nonexistent");
    }
    void thereIsNoneWithoutAFolder()
    {
        QFETCH(QByteArray, folder);
        qputenv("XDG_RUNTIME_DIR", folder);
        QVERIFY(QDir::setCurrent(m_folder->path()));
        const QString file = write(u"lumaverdine-cover-of-another"_s);
        CoverFile cover;
        show(cover, m_files.artwork(Qt::red));
        QVERIFY(cover.url().isEmpty());
        CoverFile::removeLeftovers();
        QCOMPARE(covers(), QStringList{QFileInfo(file).fileName()});
    }

    void thereIsNoneOfAFileThatIsGone()
    {
        const auto artwork = m_files.artwork(Qt::red);
        QVERIFY(QFile::remove(artwork->files().first().toLocalFile()));
        CoverFile cover;
        show(cover, artwork);
        QVERIFY(cover.url().isEmpty());
        QCOMPARE(covers(), QStringList());
    }

    void onlyWhatNobodyShowsIsALeftover()
    {
        CoverFile cover;
        show(cover, m_files.artwork(Qt::red));
        const QString kept = cover.url().fileName();
        const QString target = write(u"notes"_s);
        const QString left = write(u"lumaverdine-cover-left"_s);
        const QString link = m_folder->filePath(u"lumaverdine-cover-link"_s);
        QVERIFY(QFile::link(target, link));
        CoverFile::removeLeftovers();
        QVERIFY(!QFile::exists(left));
        QVERIFY(QFile::exists(link));
        QVERIFY(QFile::exists(target));
        QVERIFY(QFile::exists(m_folder->filePath(kept)));
    }

private:
    /// Waits until the cover's file is there, or known not to be.
    static void show(CoverFile &cover, const std::optional<Artwork> &artwork)
    {
        QSignalSpy changes(&cover, &CoverFile::changed);
        cover.show(artwork);
        QVERIFY(changes.wait());
    }

    [[nodiscard]] QStringList covers() const
    {
        return QDir(m_folder->path()).entryList({u"lumaverdine-cover-*"_s}, QDir::Files);
    }

    [[nodiscard]] QString write(const QString &name) const
    {
        QFile file(m_folder->filePath(name));
        return file.open(QIODevice::WriteOnly) ? file.fileName() : QString();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    CoverFiles m_files;
};

LUMAVERDINE_TEST(CoverFileTest)
#include "CoverFileTest.moc"
