#pragma once

#include <QProxyStyle>

/// The desktop's style, without the picture for menus that do not fit into their bar; the space bar, which toggles
/// playback everywhere else, chooses a menu's entry.
///
/// Every menu bar asks for it when it is made, and to read it the toolkit loads each picture format that is
/// installed, with the libraries behind it. Ours always fits.
class PlainMenuBarStyle final : public QProxyStyle {
public:
    [[nodiscard]] QIcon standardIcon(
        StandardPixmap symbol, const QStyleOption *option, const QWidget *widget) const override;
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
        QStyleHintReturn *answer) const override;
};
