#include "desktop/XServer.h"
#include "tests/TestProgram.h"

#include <QDataStream>

using namespace Qt::StringLiterals;

namespace {

enum Type : quint8 { Number, Text, Color, Unknown };

/// Writes a property as a program of the desktop does.
class Writer {
public:
    explicit Writer(quint32 count, QDataStream::ByteOrder order = QDataStream::LittleEndian)
    {
        m_stream.setByteOrder(order);
        m_stream << quint8(order == QDataStream::LittleEndian ? 0 : 1) << quint8(0) << quint16(0);
        m_stream << quint32(7) << count;
    }

    Writer &number(const QByteArray &name, qint32 value)
    {
        begin(Number, name);
        m_stream << value;
        return *this;
    }

    Writer &text(const QByteArray &name, const QByteArray &value)
    {
        begin(Text, name);
        m_stream << quint32(value.size());
        padded(value);
        return *this;
    }

    Writer &color(const QByteArray &name)
    {
        begin(Color, name);
        m_stream << quint64(0x1234567890ABCDEF);
        return *this;
    }

    Writer &begin(Type type, const QByteArray &name)
    {
        m_stream << quint8(type) << quint8(0) << quint16(name.size());
        padded(name);
        m_stream << quint32(0);
        return *this;
    }

    Writer &size(quint32 value)
    {
        m_stream << value;
        return *this;
    }

    [[nodiscard]] QByteArray bytes() const { return m_bytes; }

private:
    void padded(QByteArray bytes)
    {
        bytes.append((4 - bytes.size() % 4) % 4, '\0');
        m_stream.writeRawData(bytes.constData(), static_cast<int>(bytes.size()));
    }

    QByteArray m_bytes;
    QDataStream m_stream{&m_bytes, QIODevice::WriteOnly};
};

QByteArray threeSettings(QDataStream::ByteOrder order = QDataStream::LittleEndian)
{
    return Writer(3, order)
        .text("Gtk/DecorationLayout", "close,minimize:")
        .color("Gtk/Color")
        .number("Gtk/EnableAnimations", 1)
        .bytes();
}

} // namespace

class XSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsNumbersAndTextsInBothByteOrders()
    {
        for (const auto order : {QDataStream::LittleEndian, QDataStream::BigEndian}) {
            const QVariantMap settings = XSettings::parse(threeSettings(order));
            QCOMPARE(settings.value(u"Gtk/DecorationLayout"_s), u"close,minimize:"_s);
            QCOMPARE(settings.value(u"Gtk/EnableAnimations"_s), 1);
        }
    }

    void readsNamesAndTextsOfAnyLength()
    {
        for (int size = 0; size < 9; ++size) {
            const QByteArray word(size, 'x');
            const QVariantMap settings =
                XSettings::parse(Writer(2).text("a" + word, word).number("b", -1).bytes());
            QCOMPARE(settings.value(QString::fromUtf8("a" + word)), QString::fromUtf8(word));
            QCOMPARE(settings.value(u"b"_s), -1);
        }
    }

    void readsWhatIsWholeOfATruncatedProperty()
    {
        const QByteArray whole = threeSettings();
        for (qsizetype size = 0; size < whole.size(); ++size) {
            const QVariantMap settings = XSettings::parse(whole.first(size));
            QVERIFY(!settings.contains(u"Gtk/EnableAnimations"_s));
            const QVariant layout = settings.value(u"Gtk/DecorationLayout"_s);
            QVERIFY(!layout.isValid() || layout == u"close,minimize:"_s);
            QCOMPARE(layout.isValid(), size >= 12 + 4 + 20 + 4 + 4 + 16);
        }
    }

    void endsWhereTheBytesMakeNoSense()
    {
        const auto settings =
            XSettings::parse(Writer(3).number("a", 1).begin(Unknown, "b").number("c", 1).bytes());
        QCOMPARE(settings, QVariantMap({{u"a"_s, 1}}));
        QCOMPARE(XSettings::parse(Writer(1).number("a", 1).number("b", 2).bytes()), settings);
    }

    void believesNoSizeThatTheBytesDoNotHave()
    {
        QVERIFY(XSettings::parse(Writer(1).begin(Text, "a").size(0xFFFFFFFF).bytes()).isEmpty());
        QCOMPARE(XSettings::parse(Writer(0xFFFFFFFF).number("a", 1).bytes()).size(), 1);
        QVERIFY(XSettings::parse(QByteArray(64, '\xFF')).isEmpty());
    }
};

LUMAVERDINE_TEST(XSettingsTest)
#include "XSettingsTest.moc"
