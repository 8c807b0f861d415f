#include "qlistwidgetitemipc.h"

#include <utility>

QListWidgetItemIPC::QListWidgetItemIPC(const QIcon& icon, const QString& text, Params params)
    : QListWidgetItem(icon, text, nullptr, Type)
    , m_params(std::move(params))
{
}
