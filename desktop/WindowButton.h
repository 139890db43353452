#pragma once

#include <QAbstractButton>

/// One of the standard buttons of a window. The keyboard passes it by: the window manager has keys for what it
/// does.
class WindowButton : public QAbstractButton {
    Q_OBJECT

public:
    enum class Kind { Close, Minimize, Zoom, Restore };

    explicit WindowButton(Kind kind);

    /// Also renames the button.
    void setKind(Kind kind);

    [[nodiscard]] QSize sizeHint() const override { return Size; }

    /// Stands at `place`, and takes the mouse in the room of this width around it, too.
    void placeAt(QPoint place, const QMargins &reach);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    static constexpr QSize Size{24, 24};

    Kind m_kind;
};
