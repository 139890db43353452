#include "ui/Invitation.h"
#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/Button.h"
#include "ui/controls/Divider.h"
#include "ui/controls/SymbolView.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double Texts = 59;
constexpr double Symbol = 35;
constexpr double Least = Texts + 2 * 12 + 2 * 8; // without the symbol
constexpr double WithSymbol = Least + 8 + Symbol;
constexpr double Full = Texts + Symbol + 2 * 30 + 3 * 14;

InvitationLengths lengths(double room)
{
    return invitationLengths(room, Texts, Symbol);
}

struct InvitationFixture : ViewFixture {
    explicit InvitationFixture(int height)
    {
        view.resize(720, height);
        render();
    }

    [[nodiscard]] QRect label(const QString &start) const
    {
        for (const Label *label : view.findChildren<Label *>()) {
            if (label->text().startsWith(start) && label->mapTo(&view, QPoint()).y() > 400)
                return place(*label);
        }
        return {};
    }
    [[nodiscard]] QRect heading() const { return label(u"La playlist está vacía"_s); }
    [[nodiscard]] QRect formats() const { return label(u"Añade archivos"_s); }
    [[nodiscard]] QRect button() const
    {
        for (const Button *button : view.findChildren<Button *>()) {
            if (button->text().startsWith(u"Seleccionar"_s))
                return place(*button);
        }
        return {};
    }
    [[nodiscard]] QRect symbol() const
    {
        for (const SymbolView *symbol : view.findChildren<SymbolView *>()) {
            if (symbol->symbol() == u"music.note.list")
                return place(*symbol);
        }
        return {};
    }
    /// Below the header.
    [[nodiscard]] int top() const
    {
        const QRect divider = place(*view.findChildren<Divider *>().at(1));
        return divider.top() + divider.height();
    }
};

int below(const QRect &rect)
{
    return rect.top() + rect.height();
}

} // namespace

class InvitationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lengthsFollowTheRoom_data()
    {
        QTest::addColumn<double>("room");
        QTest::addColumn<QList<double>>("expected"); // end, symbol, gap of the symbol, gap
        QTest::newRow("far too little") << 20.0 << QList<double>{12, 0, 0, 2};
        QTest::newRow("too little") << Least - 6 << QList<double>{12, 0, 0, 5};
        QTest::newRow("no symbol") << Least << QList<double>{12, 0, 0, 8};
        QTest::newRow("half a symbol") << (Least + WithSymbol) / 2 << QList<double>{12, Symbol / 2, 4, 8};
        QTest::newRow("whole symbol") << WithSymbol << QList<double>{12, Symbol, 8, 8};
        QTest::newRow("half way") << (WithSymbol + Full) / 2 << QList<double>{21, Symbol, 11, 11};
        QTest::newRow("enough") << Full << QList<double>{30, Symbol, 14, 14};
        QTest::newRow("plenty") << Full + 100 << QList<double>{80, Symbol, 14, 14};
    }

    void lengthsFollowTheRoom()
    {
        QFETCH(const double, room);
        const InvitationLengths got = lengths(room);
        QTEST((QList<double>{got.end, got.symbol, got.symbolGap, got.gap}), "expected");
    }

    void nothingLeapsFromHeightToHeight()
    {
        for (double room = 60; room < 400; ++room) {
            const InvitationLengths less = lengths(room);
            const InvitationLengths more = lengths(room + 1);
            QVERIFY(std::abs(more.end - less.end) <= 1 && std::abs(more.gap - less.gap) <= 1);
            QVERIFY(std::abs(more.symbol - less.symbol) <= 1);
            QVERIFY(more.symbol >= less.symbol && more.gap >= less.gap);
            QVERIFY(less.end > 12 - 1e-6);
        }
    }

    void leastWindowHasEvenGaps()
    {
        const InvitationFixture f(620);
        QCOMPARE(f.formats().top() - below(f.heading()), 8);
        QCOMPARE(f.button().top() - below(f.formats()), 8);
        const int end = 620 - below(f.button());
        QVERIFY2(end >= 12 && end <= 13, qPrintable(QString::number(end)));
    }

    void windowThatIsHighEnoughHasAllItsLengths()
    {
        const InvitationFixture f(900);
        QCOMPARE(f.heading().top() - below(f.symbol()), 14);
        QCOMPARE(f.formats().top() - below(f.heading()), 14);
        QCOMPARE(f.button().top() - below(f.formats()), 14);
        QVERIFY(std::abs((f.symbol().top() - f.top()) - (900 - below(f.button()))) <= 1);
        QCOMPARE(f.symbol().center().x(), f.button().center().x());
        QCOMPARE(f.formats().left(), 30);
        QCOMPARE(f.formats().width(), 720 - 2 * 30);
    }

    void windowOpensHighEnough()
    {
        const InvitationFixture f(720);
        QVERIFY(f.symbol().top() - f.top() >= 30);
        QVERIFY(720 - below(f.button()) >= 30);
        QCOMPARE(f.heading().top() - below(f.symbol()), 14);
    }

    void narrowWindowWrapsTheLine()
    {
        InvitationFixture f(720);
        const int oneLine = f.formats().height();
        f.view.setMinimumSize(300, 300);
        f.view.resize(420, 720);
        f.render();
        QCOMPARE(f.formats().height(), 2 * oneLine);
    }

    void sizeIsMeasuredFromThePieces()
    {
        QList<QWidget *> pieces;
        for (const int width : {30, 50, 30, 40}) {
            pieces.append(new Button(Button::Look::Plain, {u"plus"_s, 10}, {}, {width, 10}));
        }
        const Invitation invitation(pieces[0], pieces[1], pieces[2], pieces[3]);
        QCOMPARE(invitation.sizeHint(), QSize(50 + 2 * 30, 4 * 10 + 2 * 30 + 3 * 14));
        QCOMPARE(invitation.minimumSizeHint(), QSize(50 + 2 * 30, 4 * 10 + 2 * 12 + 2 * 2));
        QCOMPARE(invitation.sizePolicy().expandingDirections(), Qt::Horizontal | Qt::Vertical);
    }

    void symbolFadesAsItShrinks()
    {
        const auto strongest = [](int height) {
            SymbolView symbol(u"music.note.list"_s, 42, QFont::Light);
            symbol.resize(symbol.sizeHint().width(), qRound(symbol.sizeHint().height() * height / 100.0));
            QImage image(symbol.size(), QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            symbol.render(&image, {}, {}, QWidget::DrawChildren);
            int most = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    most = std::max(most, qAlpha(image.pixel(x, y)));
            }
            return most;
        };
        const int whole = strongest(100);
        QVERIFY(whole > 120);
        QVERIFY(strongest(55) > 0.8 * whole);
        QVERIFY(strongest(37) < 0.65 * whole && strongest(37) > 0.3 * whole);
        QCOMPARE(strongest(22), 0);
    }
};

LUMAVERDINE_TEST(InvitationTest)
#include "InvitationTest.moc"
