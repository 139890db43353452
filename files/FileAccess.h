#pragma once

#include <QUrl>

/// Takes the access grant that a sandbox asks for before a chosen file may be read; returns whether one was
/// taken. No sandbox stands between this program and the user's files, so it always is.
bool startAccessingSecurityScopedResource(const QUrl &url);

/// Gives one grant back.
void stopAccessingSecurityScopedResource(const QUrl &url);
