#ifndef REMOTETREE_H
#define REMOTETREE_H

#include <QSignalBlocker>
#include <QTreeWidget>

// The remote list's tree, rebuilt often with thousands of rows. Each announced change of a row's
// data costs a search over all rows (the model looks up the row's position the first time, the
// view looks for a detail row of a collapsed remote among the shown rows): many changes at once
// would cost time quadratic in the rows.
class RemoteTree : public QTreeWidget {
public:
    using QTreeWidget::QTreeWidget;

    // Runs `change`, which may set texts, icons, fonts and colours of rows but neither add nor
    // remove any, without announcing it; the view lays out and repaints every row once when events
    // are next processed.
    template <typename Change>
    void changeData(Change&& change)
    {
        scheduleDelayedItemsLayout();
        const QSignalBlocker quiet(model());
        change();
    }
};

#endif
