#ifndef QLISTWIDGETITEMIPC_H
#define QLISTWIDGETITEMIPC_H

#include "params.h"

#include <QListWidgetItem>

// A list row that keeps the backend's record it was made from; made detached, then added to its
// list, so that the list announces it once.
class QListWidgetItemIPC : public QListWidgetItem {
public:
    QListWidgetItemIPC(const QIcon& icon, const QString& text, Params params);

    const Params& params() const { return m_params; }

private:
    Params m_params;
};

#endif
