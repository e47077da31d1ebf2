// SPDX-License-Identifier: MIT
#include "pages/parts/preview_area.h"

#include "pages/parts/keyboard_view.h"

#include <QHBoxLayout>

#include <algorithm>

namespace tavik {

namespace {

constexpr QSize fullViewSize(800, 300);
constexpr QMargins areaMargins(8, 0, 8, 20);

} // namespace

QSize previewViewSize(QSize previewSize)
{
    const double widthLeft = previewSize.width() - areaMargins.left() - areaMargins.right();
    const double heightLeft = previewSize.height() - areaMargins.bottom();
    const double scale =
        std::min(widthLeft / fullViewSize.width(), heightLeft / fullViewSize.height());
    if (scale > 1)
        return fullViewSize;
    return {std::max(qRound(fullViewSize.width() * scale), 1),
            std::max(qRound(fullViewSize.height() * scale), 1)};
}

PreviewArea::PreviewArea(const KeyboardLayout& layout, QWidget* parent)
    : QWidget(parent), view(new KeyboardView(this))
{
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
    setMinimumHeight(previewMinimumHeight);

    view->setKeyboardLayout(&layout);
    view->setFocusPolicy(Qt::ClickFocus); // it shows the keyboard, and has nothing to offer to keys
    view->setMinimumSize(0, 0);
    view->setMaximumSize(fullViewSize);
    view->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(areaMargins);
    row->addWidget(view, 0, Qt::AlignHCenter | Qt::AlignBottom);
}

void PreviewArea::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    view->setFixedSize(previewViewSize(size()));
}

} // namespace tavik
