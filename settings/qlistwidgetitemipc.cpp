#include "qlistwidgetitemipc.h"

QListWidgetItemIPC::QListWidgetItemIPC(const QIcon& icon, const QString& text, const Params& params, QListWidget* list)
    : QListWidgetItem(icon, text, list, Type)
    , m_params(params)
{
}
