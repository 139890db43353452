#pragma once

#include <QFileIconProvider>

/// Icons and types for a file dialog by what a file is called, without a look inside: the toolkit's own one
/// reads every file that it lists. Any thread, once it is made on the main thread.
class NameOnlyIconProvider : public QFileIconProvider {
public:
    [[nodiscard]] QIcon icon(IconType type) const override { return QFileIconProvider::icon(type); }
    [[nodiscard]] QIcon icon(const QFileInfo &info) const override;
    [[nodiscard]] QString type(const QFileInfo &info) const override;

private:
    QIcon m_folder = QFileIconProvider::icon(Folder);
    QIcon m_file = QFileIconProvider::icon(File);
};
