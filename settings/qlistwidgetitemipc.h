#ifndef QLISTWIDGETITEMIPC_H
#define QLISTWIDGETITEMIPC_H

#include "params.h"

#include <QListWidgetItem>

// A list row that keeps the backend's record it was made from.
class QListWidgetItemIPC : public QListWidgetItem {
public:
    QListWidgetItemIPC(const QIcon& icon, const QString& text, const Params& params, QListWidget* list);

    const Params& params() const { return m_params; }

private:
    Params m_params;
};

#endif
