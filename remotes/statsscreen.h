#ifndef STATSSCREEN_H
#define STATSSCREEN_H

#include "keypadhandler.h"
#include "panebase.h"

class QCheckBox;
class QComboBox;
class QStringList;
class QTabWidget;
class QTreeWidget;

// What the peer and channel statistics screens share: a selector, an option check box, a table
// of values on the "Numeric" page and graphs on the "Graph" page, all reachable from the keypad.
class StatsScreen : public KeypadHandler, public PaneBase {
public:
    // Enter presses what has focus; Left and Right turn the selector or the option, or else go to
    // the "Numeric" and the "Graph" page; Up and Down move the focus.
    void handleKey(int keycode, bool pressed, bool repeat) override;

protected:
    enum Page { NumericPage = 0, GraphPage = 1 };

    // Called once the form exists.
    void attachControls(QComboBox* selector, QCheckBox* option, QTabWidget* pages);
    // One row per label; the form gives the two columns, labels on the left, values on the right.
    static void setUpTable(QTreeWidget* table, const QStringList& labels);

private:
    QComboBox* m_selector = nullptr;
    QCheckBox* m_option = nullptr;
    QTabWidget* m_pages = nullptr;
};

#endif
