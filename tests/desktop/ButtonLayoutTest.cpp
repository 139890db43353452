#include "desktop/DesktopSettings.h"
#include "tests/TestProgram.h"

using namespace Qt::StringLiterals;

class ButtonLayoutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsWhatDesktopsPublish_data()
    {
        constexpr auto Minimize = WindowButton::Kind::Minimize;
        constexpr auto Zoom = WindowButton::Kind::Zoom;
        constexpr auto Close = WindowButton::Kind::Close;
        QTest::addColumn<QString>("published");
        QTest::addColumn<ButtonLayout>("layout");
        const auto left = [](const QString &published, const QList<WindowButton::Kind> &order) {
            QTest::newRow(qPrintable(u"left "_s + published))
                << published << ButtonLayout{Qt::LeftEdge, order};
        };
        const auto right = [](const QString &published, const QList<WindowButton::Kind> &order) {
            QTest::newRow(qPrintable(u"right "_s + published))
                << published << ButtonLayout{Qt::RightEdge, order};
        };
        right(u""_s, {Minimize, Zoom, Close});
        right(u":"_s, {Minimize, Zoom, Close});
        right(u"menu:minimize,maximize,close"_s, {Minimize, Zoom, Close});
        right(u"appmenu:close"_s, {Minimize, Zoom, Close});
        right(u"icon:close,minimize"_s, {Zoom, Close, Minimize});
        right(u":minimize,maximize"_s, {Close, Minimize, Zoom});
        right(u"minimize:close"_s, {Zoom, Minimize, Close});
        right(u"Close,,spacer"_s, {Minimize, Zoom, Close});
        left(u"close,minimize,maximize:"_s, {Close, Minimize, Zoom});
        left(u"close,maximize,minimize:menu"_s, {Close, Zoom, Minimize});
        left(u"close:appmenu"_s, {Close, Minimize, Zoom});
        left(u"close:maximize"_s, {Close, Zoom, Minimize});
        left(u"close,minimize"_s, {Close, Minimize, Zoom});
        left(u"close,close:close,minimize:maximize"_s, {Close, Minimize, Zoom});
    }
    void followsWhatDesktopsPublish()
    {
        QFETCH(const QString, published);
        QFETCH(const ButtonLayout, layout);
        QVERIFY(ButtonLayout::parse(published) == layout);
    }
};

LUMAVERDINE_TEST(ButtonLayoutTest)
#include "ButtonLayoutTest.moc"
