#pragma once

#include <QByteArray>
#include <functional>

/// What `action` writes on standard output.
QByteArray standardOutputOf(const std::function<void()> &action);
