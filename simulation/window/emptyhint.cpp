#include "emptyhint.h"

#include <QAbstractItemView>
#include <QVBoxLayout>

namespace simulation {

EmptyHint::EmptyHint(const QString &text, QAbstractItemView *view)
    : QLabel(text, view->viewport())
    , m_view(view)
{
    auto *layout = new QVBoxLayout(view->viewport());
    layout->addWidget(this, 0, Qt::AlignCenter);
    setWordWrap(true);
    setEnabled(false);
    setAlignment(Qt::AlignCenter);
    const QAbstractItemModel *model = view->model();
    connect(model, &QAbstractItemModel::rowsInserted, this, &EmptyHint::updateVisibility);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &EmptyHint::updateVisibility);
    connect(model, &QAbstractItemModel::modelReset, this, &EmptyHint::updateVisibility);
    updateVisibility();
}

void EmptyHint::updateVisibility()
{
    setVisible(m_view->model()->rowCount() == 0);
}

} // namespace simulation
