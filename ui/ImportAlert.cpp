#include "ui/ImportAlert.h"

#include "ui/Layout.h"
#include "ui/controls/Button.h"
#include "ui/controls/Label.h"
#include "ui/drawing/Fonts.h"

#include <QAccessible>
#include <QScreen>
#include <QShowEvent>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int Width = 400;
constexpr int MostLines = 12;
constexpr int TitleBar = 32; // about as high as those of window managers

Label *wrappedLabel(const TextFont &font)
{
    return new Label(font, Label::Tone::Primary, MostLines);
}

} // namespace

ImportAlert::ImportAlert(QWidget *view)
    : QDialog(view)
    , m_message(wrappedLabel(systemFont(13)))
{
    const QString title = tr("No se pudieron importar los archivos");
    setWindowTitle(u"Lumaverdine"_s);
    setAccessibleName(title);
    Label *headline = wrappedLabel(systemFont(14, QFont::Bold));
    headline->setText(title);
    auto *accept = new Button(Button::Look::Prominent, tr("Aceptar"));
    connect(accept, &QAbstractButton::clicked, this, &QDialog::reject);
    QLayout *texts = vertical(8, {headline, m_message});
    setLayout(padded(vertical(18, {texts, horizontal(0, {Spacer(), accept})}), {20, 20, 20, 20}));
}

void ImportAlert::setError(const std::optional<QString> &error)
{
    m_message->setText(error.value_or(tr("Error desconocido")));
    setFixedSize(Width, layout()->heightForWidth(Width));
}

QPoint ImportAlert::placeOver(const QRect &window, const QSize &size, const QRect &screen)
{
    const QSize framed = size + QSize(0, TitleBar);
    QRect place({}, framed);
    place.moveCenter(window.center());
    // The title bar, by which it can be moved, is worth more than the other end.
    place.moveLeft(std::max(screen.left(), std::min(place.left(), screen.right() + 1 - framed.width())));
    place.moveTop(std::max(screen.top(), std::min(place.top(), screen.bottom() + 1 - framed.height())));
    return place.topLeft();
}

void ImportAlert::showEvent(QShowEvent *event)
{
    if (!event->spontaneous()) {
        const QWidget &below = *(parentWidget() ? parentWidget()->window() : this);
        move(placeOver(below.geometry(), size(), below.screen()->availableGeometry()));
        QAccessibleEvent alert(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
    QDialog::showEvent(event);
}
