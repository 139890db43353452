#include "ui/ImportAlert.h"

#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

ImportAlert::ImportAlert(QWidget *view)
    : QMessageBox(view)
{
    const QString title = u"No se pudieron importar los archivos"_s;
    setWindowTitle(title);
    setText(title);
    setIcon(QMessageBox::Warning);
    setWindowModality(Qt::WindowModal);
    setEscapeButton(addButton(u"Aceptar"_s, QMessageBox::RejectRole));
}

void ImportAlert::setError(const std::optional<QString> &error)
{
    const QString message = error.value_or(u"Error desconocido"_s);
    if (message == informativeText())
        return;
    setInformativeText(message);
    // setTextFormat() leaves the informative text out.
    for (QLabel *label : findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
}
