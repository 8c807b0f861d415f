#include "qtreewidgetitemipc.h"

QTreeWidgetItemIPC::QTreeWidgetItemIPC(const Params& params)
    : QTreeWidgetItem(QTreeWidgetItem::Type)
    , m_params(params)
{
}

QTreeWidgetItemIPC::~QTreeWidgetItemIPC() = default;
