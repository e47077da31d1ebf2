// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

namespace tavik {

// Draws a row of the effect list: a radio mark and the effect's name.
class EffectDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace tavik
