#pragma once

#include <QMenuBar>

/// A menu bar that lies over a window's content: drawn without a background of its own, whatever the desktop's
/// style. On desktops with a global menu its menus go there and it never shows.
class MenuStrip : public QMenuBar {
    Q_OBJECT

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void drawTitle(QPainter &painter, const QAction &menu, const QRect &place) const;
};
