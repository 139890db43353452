#pragma once

#include "desktop/DesktopSettings.h"

#include <QMenuBar>
#include <QPointer>
#include <QWindow>
#include <functional>
#include <optional>

/// What a window without a title bar asks of the window system, which then follows the pointer by itself; fakes
/// in tests. False if the window system cannot do it.
struct WindowSystem {
    std::function<bool(QWindow &)> startMove = [](QWindow &window) { return window.startSystemMove(); };
    std::function<bool(QWindow &, Qt::Edges)> startResize = [](QWindow &window, Qt::Edges edges) {
        return window.startSystemResize(edges);
    };
};

/// A menu bar that lies over a window's content: drawn without a background of its own, whatever the desktop's
/// style. On desktops with a global menu its menus go there and it never shows.
class MenuStrip : public QMenuBar {
    Q_OBJECT

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void drawTitle(QPainter &painter, const QAction &menu, const QRect &place) const;
};

/// The edges of a window that has no other border: a hairline on top of the content, round corners outside of which
/// nothing is left of it, and the band by which the window is resized. What lies within the band gets the mouse as if
/// there were no frame.
class WindowFrame : public QWidget {
    Q_OBJECT

public:
    static constexpr int Band = 4; ///< points from the edge that grip it; a scroll bar beside them keeps room
    static constexpr int Corner = 16; ///< points from a corner, along the edges, that grip both edges
    static constexpr int Radius = 12; ///< points; so small that round corners end within the band

    explicit WindowFrame(QWidget *window);

    /// The edges of a window of this size that a point grips: two in a corner, none in the middle.
    [[nodiscard]] static Qt::Edges edgesAt(QPoint point, QSize size);

    /// By default the corners are square.
    void setRound(bool isRound);

Q_SIGNALS:
    void pressed(Qt::Edges edges);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    bool m_isRound = false;
};

/// A window without a title bar. Its content reaches to all edges; over the content's first points lie the menus
/// and the standard buttons.
///
/// Whatever the content leaves alone moves the window when it is dragged; the strip along the top zooms it on a
/// double click and has a menu for what the buttons do. The content is opaque: the surface under it is not, so that
/// corners can be round. Main thread only.
class FramelessWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr int StripHeight = 28; ///< points at the top, over the content

    explicit FramelessWindow(WindowSystem system = {});

    /// Fills the window, which comes to own it and takes over its least size.
    void setContent(QWidget *content);

    [[nodiscard]] QMenuBar &menuBar() { return m_menus; }

    /// The menu of the strip while it is open, or null.
    [[nodiscard]] QMenu *openedMenu() const { return m_menu; }

    /// Where the standard buttons stand from now on; the menus lie opposite them.
    void setButtonLayout(const ButtonLayout &layout);

    /// Rounds the corners of the window from now on, except while it fills the screen, or makes them square: what lies
    /// outside of round ones is black unless the window system is composited.
    void setRound(bool isRound) { m_frame.setRound(isRound); }

    /// Fills the screen, or goes back to the size before that.
    void toggleZoom();

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

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
    QPointer<QMenu> m_menu; ///< of the strip, while it is open
    std::optional<QPoint> m_pressed; ///< on the screen; where a press may become a move
};
