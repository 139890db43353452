#pragma once

#include <QWidget>

class PlayerManager;

/// The root view of the window.
class ContentView : public QWidget {
    Q_OBJECT

public:
    explicit ContentView(PlayerManager &player, QWidget *parent = nullptr);
};
