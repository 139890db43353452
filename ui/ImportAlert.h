#pragma once

#include <QDialog>
#include <optional>

class Label;

/// Says that an import failed, and why. Blocks neither its window nor the picker.
class ImportAlert : public QDialog {
    Q_OBJECT

public:
    /// An alert on the window of `view`, which owns it.
    explicit ImportAlert(QWidget *view);

    /// The reason, word for word; "Error desconocido" for none. Comes before the first showing.
    void setError(const std::optional<QString> &error);

    /// Where an alert of `size` opens: over the middle of `window`, all of it on the `screen` with the title bar that
    /// the window manager puts on it. All in points.
    [[nodiscard]] static QPoint placeOver(const QRect &window, const QSize &size, const QRect &screen);

protected:
    void showEvent(QShowEvent *event) override;

private:
    Label *m_message;
};
