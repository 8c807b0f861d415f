#ifndef PENDINGSCREEN_H
#define PENDINGSCREEN_H

#include "keypadhandler.h"
#include "panebase.h"

#include <QWidget>

// An empty page holding the place of a screen that is not part of the program yet, so that the
// stack's indices, the menu and the F2 key already work for every screen.
class PendingScreen : public QWidget, public PaneBase, public KeypadHandler {
    Q_OBJECT
    Q_DISABLE_COPY(PendingScreen)

public:
    explicit PendingScreen(QWidget* parent = nullptr) : QWidget(parent) {}
};

#endif
