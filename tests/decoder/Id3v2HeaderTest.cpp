#include "decoder/Id3v2Header.h"
#include "tests/TestProgram.h"

#include <QByteArray>

namespace {

const QByteArray tagHeader("ID3\x04\0\0\0\0\x02\x01", 10); // 257 bytes follow

QByteArray masked(QByteArray bytes)
{
    const auto ready =
        hideId3v2Tags({reinterpret_cast<std::uint8_t *>(bytes.data()), std::size_t(bytes.size())});
    return bytes.first(qsizetype(ready));
}

QByteArray withVersion(QByteArray tag, char version)
{
    tag[3] = version;
    return tag;
}

} // namespace

class Id3v2HeaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sizeCountsHeaderAndFooter()
    {
        QCOMPARE(id3v2TagSize(tagHeader), 10 + 257);
        QCOMPARE(id3v2TagSize("ea3" + tagHeader.sliced(3)), 10 + 257);
        QByteArray withFooter = tagHeader;
        withFooter[5] = 0x10;
        QCOMPARE(id3v2TagSize(withFooter), 10 + 257 + 10);
        QCOMPARE(id3v2TagSize(tagHeader.first(9)), 0);
        QCOMPARE(id3v2TagSize("TAG" + tagHeader.sliced(3)), 0);
    }

    void everyTagGetsAVersionThatNobodyReads()
    {
        const QByteArray rest(9, 'x');
        for (const char version : {'\2', '\3', '\4'}) {
            const QByteArray tag = withVersion(tagHeader, version);
            QCOMPARE(masked(tag + rest), withVersion(tagHeader, 0));
            QCOMPARE(masked("....." + tag + tag + rest),
                "....." + withVersion(tagHeader, 0) + withVersion(tagHeader, 0));
            QCOMPARE(masked("ea3" + tag.sliced(3) + rest), "ea3" + withVersion(tagHeader, 0).sliced(3));
        }
    }

    void whatIsNoTagStays_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("version 1") << withVersion(tagHeader, 1);
        QTest::newRow("version 5") << withVersion(tagHeader, 5);
        QTest::newRow("other name") << "ID4" + tagHeader.sliced(3);
        for (const int i : {6, 7, 8, 9}) {
            QByteArray bytes = tagHeader;
            bytes[i] = char(0x80);
            QTest::addRow("byte %d", i) << bytes;
        }
    }

    void whatIsNoTagStays()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(masked(bytes + QByteArray(9, 'x')), bytes);
    }

    void headerIsFoundWhereverItIsCut()
    {
        const QByteArray bytes = "........." + tagHeader + ".........";
        for (qsizetype size = 10; size <= bytes.size(); ++size) {
            QByteArray read;
            while (read.size() < bytes.size())
                read += masked(bytes.mid(read.size(), size));
            QCOMPARE(read, "........." + withVersion(tagHeader, 0) + ".........");
        }
    }

    void shortBytesAreReady()
    {
        QCOMPARE(masked(tagHeader.first(9)), tagHeader.first(9));
        QCOMPARE(masked({}), QByteArray());
    }
};

LUMAVERDINE_TEST(Id3v2HeaderTest)
#include "Id3v2HeaderTest.moc"
