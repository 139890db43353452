#pragma once

#include <QWidget>
#include <functional>
#include <optional>

/// A continuous slider from 0 to a maximum.
///
/// Whatever moves it, every edit is the same story: editingBegan(), one edited() for every movement, then
/// editingEnded(). A drag with the mouse has as many movements as it takes; a click on the groove, a key, a
/// turn of the wheel and a value set by assistive technology have one. What ends a drag early, such as
/// disabling the slider or a dialog in front of it, ends the edit. The space bar never moves it.
class Slider : public QWidget {
    Q_OBJECT

public:
    /// A slider that assistive technology calls `name`.
    explicit Slider(const QString &name);

    [[nodiscard]] double value() const { return m_value; }
    [[nodiscard]] double maximum() const { return m_maximum; }
    [[nodiscard]] double step() const { return m_step; }
    [[nodiscard]] bool isHeld() const { return m_isHeld; }

    // Neither of these is an edit, and nothing happens if the value is the same.
    void setValue(double value);
    void setMaximum(double maximum);

    /// How far the arrow keys and the wheel move, and how far the Page keys.
    void setSteps(double step, double pageStep);

    /// The words that assistive technology reads instead of the value; none by default.
    void setSpokenWords(std::function<QString(double)> words) { m_spokenWords = std::move(words); }
    [[nodiscard]] QString spokenWords() const { return m_spokenWords ? m_spokenWords(m_value) : QString(); }

    /// A whole edit with one movement to `value`, kept within the range. Nothing while the slider is disabled
    /// or held.
    void edit(double value);

    [[nodiscard]] QSize sizeHint() const override { return {145, 20}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {40, 20}; }

Q_SIGNALS:
    void editingBegan();
    void edited(double value);
    void editingEnded();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    [[nodiscard]] double shownFraction() const; ///< from 0 to 1, also for a value out of range
    [[nodiscard]] double thumbCenter() const;
    [[nodiscard]] double valueAt(double x) const;
    [[nodiscard]] double valueAfter(double change) const;
    [[nodiscard]] std::optional<double> valueAfterKey(int key) const;
    void begin();
    void moveTo(double value);
    void end();
    void announceMovement();
    void announceValue();
    [[nodiscard]] bool isOnThumb(double x) const;
    void point(std::optional<double> x);
    void draw(QPainter &painter);
    void drawThumb(QPainter &painter);

    double m_value = 0;
    double m_maximum = 1;
    double m_step = 0.05;
    double m_pageStep = 0.1;
    std::function<QString(double)> m_spokenWords;
    QString m_announced; ///< what assistive technology was told last
    bool m_isHeld = false;
    bool m_isFocusShown = false;
    std::optional<double> m_pointer; ///< where the mouse is, along the slider
    double m_grabOffset = 0; ///< from the thumb's centre to where the mouse holds it
    int m_wheelRemainder = 0; ///< eighths of a degree that make no whole step yet
};
