#include "ui/ContentView.h"

ContentView::ContentView(PlayerManager &, QWidget *parent)
    : QWidget(parent)
{
}
