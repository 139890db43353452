#include "files/LocalFile.h"
#include "tests/TestProgram.h"

using namespace Qt::StringLiterals;

namespace {

QStringList sortedNames(const QStringList &names)
{
    QList<QUrl> urls;
    for (const QString &name : names)
        urls.append(QUrl::fromLocalFile(u"/music/"_s + name));
    QStringList sorted;
    for (const QUrl &url : sortedByFileName(urls))
        sorted.append(url.fileName());
    return sorted;
}

} // namespace

class FileOrderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numbersCompareByValue()
    {
        QCOMPARE(sortedNames({u"Track 10.mp3"_s, u"Track 2.mp3"_s}),
            QStringList({u"Track 2.mp3"_s, u"Track 10.mp3"_s}));
    }

    void caseIsIgnored()
    {
        QCOMPARE(sortedNames({u"B.mp3"_s, u"b.mp3"_s, u"A.mp3"_s, u"C.mp3"_s}),
            QStringList({u"A.mp3"_s, u"B.mp3"_s, u"b.mp3"_s, u"C.mp3"_s}));
    }

    void accentsSortBesideTheirLetter()
    {
        QCOMPARE(sortedNames({u"zorro.mp3"_s, u"Ébano.mp3"_s, u"eco.mp3"_s, u"dado.mp3"_s}),
            QStringList({u"dado.mp3"_s, u"Ébano.mp3"_s, u"eco.mp3"_s, u"zorro.mp3"_s}));
    }

    void onlyTheNameCountsAndEqualNamesKeepTheirOrder()
    {
        const QUrl inZ = QUrl::fromLocalFile(u"/z/same.mp3"_s);
        const QUrl inA = QUrl::fromLocalFile(u"/a/same.mp3"_s);
        QCOMPARE(sortedByFileName({inZ, inA}), QList<QUrl>({inZ, inA}));
    }
};

LUMAVERDINE_TEST(FileOrderTest)
#include "FileOrderTest.moc"
