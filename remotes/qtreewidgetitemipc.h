#ifndef QTREEWIDGETITEMIPC_H
#define QTREEWIDGETITEMIPC_H

#include "params.h"

#include <QTreeWidgetItem>

// A top-level row of the remote list: keeps its own copy of the remote's record, from which
// every field of the remote is read back.
class QTreeWidgetItemIPC : public QTreeWidgetItem {
public:
    explicit QTreeWidgetItemIPC(const Params& params = Params());
    ~QTreeWidgetItemIPC() override;

    const Params& params() const { return m_params; }
    Params& params() { return m_params; }
    void setParams(const Params& params) { m_params = params; }

private:
    Params m_params;
};

#endif
