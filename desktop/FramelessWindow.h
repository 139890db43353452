#pragma once

#include "desktop/ButtonLayout.h"
#include "desktop/MenuStrip.h"
#include "desktop/WindowButton.h"
#include "desktop/WindowFrame.h"
#include "desktop/WindowSystem.h"

#include <QWidget>
#include <optional>

/// A window without a title bar. Its content reaches to all edges; over the content's first points lie the menus
/// and the standard buttons.
///
/// Whatever the content leaves alone moves the window when it is dragged; the strip along the top zooms it on a
/// double click. Main thread only.
class FramelessWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr int StripHeight = 28; ///< points at the top, over the content

    explicit FramelessWindow(WindowSystem system = {});

    /// Fills the window, which comes to own it and takes over its least size.
    void setContent(QWidget *content);

    [[nodiscard]] QMenuBar &menuBar() { return m_menus; }

    /// Where the standard buttons stand from now on; the menus lie opposite them.
    void setButtonLayout(const ButtonLayout &layout);

    /// Fills the screen, or goes back to the size before that.
    void toggleZoom();

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    [[nodiscard]] bool fillsScreen() const;
    [[nodiscard]] bool isFreeAt(const QPoint &position) const;
    void arrange();
    void arrangeButtons(bool isLeft);
    WindowButton &button(WindowButton::Kind kind);

    WindowSystem m_system;
    QWidget *m_content = nullptr;
    WindowFrame m_frame{this};
    MenuStrip m_menus;
    WindowButton m_minimize{WindowButton::Kind::Minimize};
    WindowButton m_zoom{WindowButton::Kind::Zoom};
    WindowButton m_close{WindowButton::Kind::Close};
    ButtonLayout m_buttonLayout;
    std::optional<QPoint> m_pressed; ///< on the screen; where a press may become a move
};
