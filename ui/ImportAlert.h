#pragma once

#include <QMessageBox>
#include <optional>

/// Says that an import failed, and why. Blocks its window but not the program.
class ImportAlert : public QMessageBox {
    Q_OBJECT

public:
    /// An alert on the window of `view`, which owns it.
    explicit ImportAlert(QWidget *view);

    /// The reason, word for word; "Error desconocido" for none.
    void setError(const std::optional<QString> &error);
};
