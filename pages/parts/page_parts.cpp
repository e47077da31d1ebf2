#include "pages/parts/page_parts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace tavik {

namespace {

constexpr int pageMargin = 12;

} // namespace

void cutAtEdges(QLayout* pageLayout)
{
    pageLayout->setSizeConstraint(QLayout::SetMinimumSize);
}

QVBoxLayout* createPageColumn(QWidget* page, int spacing)
{
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(pageMargin, pageMargin, pageMargin, pageMargin);
    column->setSpacing(spacing);
    cutAtEdges(column);
    return column;
}

QHBoxLayout* createRow(std::initializer_list<QWidget*> widgets)
{
    auto* row = new QHBoxLayout;
    for (QWidget* widget : widgets)
        row->addWidget(widget);
    row->addStretch();
    return row;
}

QLabel* createHeading(const QString& text, int pixelSize, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setStyleSheet(QStringLiteral("font-size:%1px;font-weight:600;").arg(pixelSize));
    return label;
}

QLabel* createHint(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(QStringLiteral("hint"));
    return label;
}

} // namespace tavik
