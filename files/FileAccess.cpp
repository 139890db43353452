#include "files/FileAccess.h"

bool startAccessingSecurityScopedResource(const QUrl &)
{
    return true;
}

void stopAccessingSecurityScopedResource(const QUrl &) { }
