#pragma once

#include "ui/PopupStyle.h"

/// The desktop's style with the window's menus and tooltips, and three more differences:
///
/// 1. The space bar, which toggles playback everywhere else, chooses a menu's entry.
/// 2. Nothing is animated if the user wants no animations.
/// 3. There is no picture for menus that do not fit into their bar. Every menu bar asks for it when it is made, and to
///    read it the toolkit loads each picture format that is installed, with the libraries behind it. Ours always fits.
class ProgramStyle final : public PopupStyle {
public:
    /// Whether the user wants animations; by default the desktop's style decides alone.
    void setAnimated(bool isAnimated) { m_isAnimated = isAnimated; }

    [[nodiscard]] QIcon standardIcon(
        StandardPixmap symbol, const QStyleOption *option, const QWidget *widget) const override;
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption *option = nullptr,
        const QWidget *widget = nullptr, QStyleHintReturn *answer = nullptr) const override;

private:
    bool m_isAnimated = true;
};
