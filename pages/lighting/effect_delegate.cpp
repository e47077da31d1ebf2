// SPDX-License-Identifier: MIT
#include "pages/lighting/effect_delegate.h"

#include <QPainter>

namespace tavik {

namespace {

constexpr QColor selectedRowColor(0xD8, 0x53, 0x00);

QRect textRectangle(const QRect& row)
{
    return {QPoint(row.left() + 51, row.top()), QPoint(row.right() - 5, row.bottom())};
}

} // namespace

void EffectDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const
{
    const QRect row = option.rect;
    const int middle = (row.top() + row.bottom()) / 2;
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);

    painter->save();
    if (isSelected)
        painter->fillRect(row, selectedRowColor);

    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(Qt::white, 1.7));
    painter->setBrush(isSelected ? QBrush(Qt::white) : QBrush(Qt::NoBrush));
    painter->drawEllipse(
        QRect(QPoint(row.left() + 16, middle - 8), QPoint(row.left() + 31, middle + 7)));
    if (isSelected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(selectedRowColor);
        painter->drawEllipse(
            QRect(QPoint(row.left() + 20, middle - 4), QPoint(row.left() + 27, middle + 3)));
    }

    painter->setPen(Qt::white);
    painter->setFont(QFont(option.font.family(), 11, QFont::DemiBold));
    painter->drawText(textRectangle(row), Qt::AlignLeft | Qt::AlignVCenter,
                      index.data(Qt::DisplayRole).toString());
    painter->restore();
}

QSize EffectDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    return {210, 30};
}

} // namespace tavik
