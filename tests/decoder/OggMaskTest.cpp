#include "decoder/ContainerMask.h"
#include "tests/OggPage.h"
#include "tests/TestProgram.h"

#include <algorithm>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

/// The first page of a stream, and one whose packet may go on behind it.
struct OggPages {
    QByteArray first;
    QByteArray second;

    [[nodiscard]] QByteArray bytes() const { return first + second + "OggS, and what is no page"; }
};

/// A page of one packet, in as many segments as it takes; one of full segments goes on behind the page.
QByteArray page(const QByteArray &packet, char flags = 0)
{
    QByteArray lengths(packet.size() / 255, '\xff');
    if (packet.size() % 255 > 0)
        lengths += char(packet.size() % 255);
    return withOggChecksum(
        QByteArray("OggS\0", 5) + flags + QByteArray(20, '\1') + char(lengths.size()) + lengths + packet);
}

/// A packet that fills `segments`.
QByteArray packet(const QByteArray &beginning, int segments)
{
    return beginning + QByteArray(255 * segments - beginning.size(), '\x2a');
}

/// Reads `bytes` as a program does that has room for so many at once.
class MaskedFile {
public:
    explicit MaskedFile(QByteArray bytes)
        : m_bytes(std::move(bytes))
    {
    }

    QByteArray read(qsizetype from, qsizetype room)
    {
        QByteArray result;
        while (from < m_bytes.size()) {
            QByteArray part = m_bytes.sliced(from, std::min(room, m_bytes.size() - from));
            const auto ready = qsizetype(m_mask->apply(unsignedBytes(part), from, m_look));
            result += part.first(ready);
            from += ready;
        }
        return result;
    }

private:
    static std::span<std::uint8_t> unsignedBytes(QByteArray &bytes)
    {
        return {reinterpret_cast<std::uint8_t *>(bytes.data()), std::size_t(bytes.size())};
    }

    const QByteArray m_bytes;
    const std::unique_ptr<ContainerMask> m_mask = ContainerMask::forDemuxer("ogg");
    const ContainerMask::Look m_look = [this](std::int64_t position, std::span<std::uint8_t> bytes) {
        const auto count = std::min(bytes.size(), std::size_t(m_bytes.size() - position));
        std::copy_n(m_bytes.begin() + position, count, bytes.begin());
        return count;
    };
};

} // namespace

/// Pages of Ogg as they are handed on.
class OggMaskTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void commentsThatGoOnBehindTheirPageAreEmptied_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("comments"); // as they begin
        QTest::addColumn<int>("emptied"); // the first of eight bytes in them; -1 if there is none
        QTest::newRow("Vorbis") << "\1vorbis"_ba
                                << "\3vorbis"_ba << 7;
        QTest::newRow("Theora") << "\x80theora"_ba
                                << "\x81theora"_ba << 7;
        QTest::newRow("VP8") << "OVP80\1\1"_ba
                             << "OVP80\2 "_ba << 7;
        QTest::newRow("Opus") << "OpusHead"_ba
                              << "OpusTags"_ba << 8;
        QTest::newRow("FLAC") << "\177FLAC\1"_ba
                              << "\4\1\1\1"_ba << 4;
        QTest::newRow("FLAC, last block") << "\177FLAC\1"_ba
                                          << "\x84\1\1\1"_ba << 4;
        QTest::newRow("picture of FLAC") << "\177FLAC\1"_ba
                                         << "\6\1\1\1"_ba << -1;
        QTest::newRow("Speex") << "Speex   1.2"_ba << QByteArray() << 0;
        QTest::newRow("CELT") << "CELT    0.7"_ba << QByteArray() << 0;
        QTest::newRow("another") << "fishead"_ba
                                 << "\4\1\1\1"_ba << -1;
    }

    void commentsThatGoOnBehindTheirPageAreEmptied()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, comments);
        QFETCH(int, emptied);
        const OggPages pages{page(first), page(packet(comments, 3))};
        OggPages masked = pages;
        if (emptied >= 0) {
            const QByteArray list(8, '\0');
            masked.second = withOggChecksum(masked.second.replace(27 + 3 + emptied, list.size(), list));
        }
        for (const qsizetype room : {5, 6, 33, 100, 10'000}) {
            MaskedFile file(pages.bytes());
            QCOMPARE(file.read(0, room), masked.bytes());
            QCOMPARE(file.read(0, room), masked.bytes()); // which forgets nothing of the stream
            QCOMPARE(file.read(pages.first.size(), room), masked.second + masked.bytes().last(25));
        }
    }

    void commentsThatEndOnTheirPageStay()
    {
        const QByteArray small = page("\1vorbis") + page("\3vorbis" + QByteArray(300, '\x2a'));
        QCOMPARE(MaskedFile(small).read(0, 100), small);
        const QByteArray rest =
            page("\1vorbis") + page(packet("\3vorbis", 2), 1); // of a packet that began earlier
        QCOMPARE(MaskedFile(rest).read(0, 100), rest);
        const QByteArray cut = page("\1vorbis") + page(packet("\3vorbis", 3)).chopped(1);
        QCOMPARE(MaskedFile(cut).read(0, 100), cut);
    }

    void pagesThatHaveBeenReadAreForgotten()
    {
        const QByteArray bytes = page(packet("\3vorbis", 1)).repeated(20'000);
        MaskedFile file(bytes);
        const auto before = mallinfo2().uordblks;
        QCOMPARE(file.read(0, 1000).size(), bytes.size());
        const auto kept = mallinfo2().uordblks - before;
        QVERIFY2(kept < 100'000, qPrintable(QString::number(kept)));
    }
};

LUMAVERDINE_TEST(OggMaskTest)
#include "OggMaskTest.moc"
